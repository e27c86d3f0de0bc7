/* A host of an installed TintaraLib: reaches the trafo, link and file-spec families. */
#include <stdio.h>

#include <tintara.h>

int main(void) {
    const double in[3] = {10.0, 20.0, 30.0};
    double out[3] = {0, 0, 0};
    char name[64] = "";
    TKTrafoRef trafo = TKNewTKTrafoRef();
    TKLinkRef link = TKNewTKLink16Ref();
    TKFileSpec* spec = TKNewFileSpecRef();
    int ok = trafo && link && spec;
    if (ok) {
        ok = TKDoTrafo(trafo, in, out) == 0;
        /* A link with no tables yet refuses pixels with ArgErr. */
        ok = ok && TKLink16Match(link, 1, in, out, 0, 0, NULL, NULL) == 3;
        TKName2FileSpec(spec, "/tmp/example.lnk");
        TKFileSpec2Name(spec, name, (int32_t)sizeof name);
        ok = ok && name[0] != '\0';
    }
    TKFreeFileSpecRef(spec);
    TKFreeTKLink16Ref(link);
    TKFreeTKTrafoRef(trafo);
    if (!ok) return 1;
    printf("installed tintara works\n");
    return 0;
}
