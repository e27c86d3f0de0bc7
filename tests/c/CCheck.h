/* Pass/fail bookkeeping shared by the plain C host tests: one line per failure, one summary line. */
#ifndef TINTARA_TESTS_C_CCHECK_H
#define TINTARA_TESTS_C_CCHECK_H

#include <stdio.h>

static int passed = 0;
static int failed = 0;

static void check(int ok, const char* what) {
    if (ok) {
        ++passed;
    } else {
        ++failed;
        printf("FAILED: %s\n", what);
    }
}

/* Prints the closing "N passed, N failed" line and gives the process exit code. */
static int report(void) {
    printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}

#endif
