/* The file-spec exports from plain C through the shared library, with normal and bad input. */
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

static void fill(char* buffer, size_t size) { memset(buffer, '#', size); }

int main(void) {
    char out[64];
    TKFileSpec* spec = TKNewFileSpecRef();
    check(spec != NULL, "TKNewFileSpecRef gives a spec");

    check(TKName2FileSpec(spec, "D:\\colour\\\\profiles\\CoatedFOGRA39.icc") == spec, "TKName2FileSpec returns its file spec");
    fill(out, sizeof out);
    TKFileSpec2FullName(spec, out, (int32_t)sizeof out);
    check(strcmp(out, "D:/colour/profiles/CoatedFOGRA39.icc") == 0, "full name in normal form");
    fill(out, sizeof out);
    TKFileSpec2Name(spec, out, (int32_t)sizeof out);
    check(strcmp(out, "CoatedFOGRA39.icc") == 0, "name without folder");

    TKName2FileSpec(spec, "//server/share//x.icm");
    fill(out, sizeof out);
    TKFileSpec2FullName(spec, out, (int32_t)sizeof out);
    check(strcmp(out, "//server/share/x.icm") == 0, "network path keeps its leading slashes");

    TKName2FileSpec(spec, "/a/long.txt");
    fill(out, sizeof out);
    TKFileSpec2Name(spec, out, 4);
    check(memcmp(out, "long#", 5) == 0, "a 4-byte buffer gets 4 bytes and no terminator");
    fill(out, sizeof out);
    TKFileSpec2Name(spec, out, 8);
    check(memcmp(out, "long.txt#", 9) == 0, "8 characters in 8 bytes: still no terminator");
    fill(out, sizeof out);
    TKFileSpec2Name(spec, out, 9);
    check(memcmp(out, "long.txt\0#", 10) == 0, "one byte more holds the terminator");
    fill(out, sizeof out);
    TKFileSpec2FullName(spec, out, 3);
    check(memcmp(out, "/a/#", 4) == 0, "the full name truncates alike");
    TKName2FileSpec(spec, "/tmp/Farbr\xC3\xA4ume.icc");
    TKFileSpec2Name(spec, out, (int32_t)sizeof out);
    check(strcmp(out, "Farbr\xC3\xA4ume.icc") == 0, "UTF-8 passes unchanged");
    fill(out, sizeof out);
    TKFileSpec2Name(spec, out, 0);
    check(out[0] == '#', "size 0 writes nothing");
    fill(out, sizeof out);
    TKFileSpec2FullName(spec, out, -3);
    check(out[0] == '#', "negative size writes nothing");
    TKFileSpec2Name(spec, NULL, 10);
    check(1, "null buffer is ignored");

    fill(out, sizeof out);
    TKFileSpec2Name(NULL, out, (int32_t)sizeof out);
    check(out[0] == 0, "null spec writes an empty string");
    fill(out, sizeof out);
    TKFileSpec2FullName(NULL, out, (int32_t)sizeof out);
    check(out[0] == 0, "null spec writes an empty full name");
    check(TKName2FileSpec(NULL, "x") == NULL, "null spec stays null");

    TKName2FileSpec(spec, "");
    fill(out, sizeof out);
    TKFileSpec2FullName(spec, out, (int32_t)sizeof out);
    check(out[0] == 0, "an empty name clears the path");
    TKName2FileSpec(spec, NULL);
    check(1, "a null name is accepted");

    TKFreeFileSpecRef(spec);
    TKFreeFileSpecRef(NULL);
    check(1, "freeing null is a no-op");

    return report();
}
