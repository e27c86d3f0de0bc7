/* The file-spec exports from plain C through the shared library, with normal and bad input. */
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

/* Writes the spec's name (or full name) into a buffer of `size` bytes prefilled with '#' and
 * tells whether its first `n` bytes are `wanted`: the bytes beyond what was written stay '#'. */
static int writes(TKFileSpec* spec, int full, int32_t size, const char* wanted, size_t n) {
    char out[64];
    memset(out, '#', sizeof out);
    if (full) TKFileSpec2FullName(spec, out, size);
    else TKFileSpec2Name(spec, out, size);
    return memcmp(out, wanted, n) == 0;
}

int main(void) {
    TKFileSpec* spec = TKNewFileSpecRef();
    check(spec != NULL, "TKNewFileSpecRef gives a spec");

    check(TKName2FileSpec(spec, "D:\\colour\\\\profiles\\CoatedFOGRA39.icc") == spec, "TKName2FileSpec returns its file spec");
    check(writes(spec, 1, 64, "D:/colour/profiles/CoatedFOGRA39.icc", 37), "full name in normal form");
    check(writes(spec, 0, 64, "CoatedFOGRA39.icc", 18), "name without folder");
    TKName2FileSpec(spec, "//server/share//x.icm");
    check(writes(spec, 1, 64, "//server/share/x.icm", 21), "network path keeps its leading slashes");

    TKName2FileSpec(spec, "/a/long.txt");
    check(writes(spec, 0, 4, "long#", 5), "a 4-byte buffer gets 4 bytes and no terminator");
    check(writes(spec, 0, 8, "long.txt#", 9), "8 characters in 8 bytes: still no terminator");
    check(writes(spec, 0, 9, "long.txt\0#", 10), "one byte more holds the terminator");
    check(writes(spec, 1, 3, "/a/#", 4), "the full name truncates alike");
    TKName2FileSpec(spec, "/tmp/Farbr\xC3\xA4ume.icc");
    check(writes(spec, 0, 64, "Farbr\xC3\xA4ume.icc", 15), "UTF-8 passes unchanged");
    check(writes(spec, 0, 0, "#", 1), "size 0 writes nothing");
    check(writes(spec, 1, -3, "#", 1), "negative size writes nothing");
    TKFileSpec2Name(spec, NULL, 10); /* a null buffer is ignored: reaching the next line is the check */

    check(writes(NULL, 0, 64, "", 1) && writes(NULL, 1, 64, "", 1), "a null spec writes empty names");
    check(TKName2FileSpec(NULL, "x") == NULL, "null spec stays null");
    TKName2FileSpec(spec, "");
    check(writes(spec, 1, 64, "", 1), "an empty name clears the path");
    TKName2FileSpec(spec, NULL); /* a null name is accepted */

    TKFreeFileSpecRef(spec);
    TKFreeFileSpecRef(NULL);
    return report();
}
