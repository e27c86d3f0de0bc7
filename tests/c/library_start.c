/* The library's start on first use, seen by a C host: the first call opens the log named by the
 * global settings and loads the plug-ins beside the library once; the end of the process
 * unloads them. Each scenario runs in a child process so that it has a first call of its own. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tintara.h"
#include "CCheck.h"

static char folder[256];

static void write_settings(const char* settings) {
    char path[512];
    FILE* file;
    snprintf(path, sizeof path, "%s/TKGlobalData.txt", folder);
    file = fopen(path, "w");
    if (!file) return;
    fputs(settings, file);
    fclose(file);
}

/* Runs a host's first calls in a child with the given settings and returns the log it left. */
static char* run_host(const char* settings) {
    static char log[65536];
    char path[512];
    size_t length = 0;
    FILE* file;
    pid_t child;
    snprintf(path, sizeof path, "%s/log/TKDebugLog.txt", folder);
    remove(path);
    write_settings(settings);
    child = fork();
    if (child == 0) {
        double colour[3] = {1.0, 2.0, 3.0};
        TKTrafoRef ref = TKNewTKTrafoRef();
        TKDoTrafo(ref, NULL, colour); /* an error for the log */
        TKDoTrafo(ref, colour, colour);
        TKFreeTKTrafoRef(ref);
        exit(0); /* static destructors run: the end of the process */
    }
    waitpid(child, NULL, 0);
    log[0] = 0;
    file = fopen(path, "r");
    if (!file) return log;
    length = fread(log, 1, sizeof log - 1, file);
    log[length] = 0;
    fclose(file);
    return log;
}

static int count(const char* text, const char* part) {
    int n = 0;
    for (const char* at = strstr(text, part); at; at = strstr(at + 1, part)) ++n;
    return n;
}

int main(void) {
    char settings[1024];
    const char* log;
    snprintf(folder, sizeof folder, "/tmp/tk_start_XXXXXX");
    if (!mkdtemp(folder)) return 1;
    setenv("TINTARA_PREFERENCES_DIR", folder, 1);

    snprintf(settings, sizeof settings, "DebugLogFolder = %s/log\nDebugLogMaxSize = 100000\n", folder);
    log = run_host(settings);
    check(strstr(log, "-------------------------------------------") != NULL, "the first call opens the log");
    check(strstr(log, "Error: 3 ") != NULL, "errors of the host's calls are logged");
    check(count(log, "Loaded plug-in ") == 1 && strstr(log, "/Plugins/HyAB.so") != NULL,
          "the sample plug-in beside the library is loaded once");
    check(strstr(log, "ColorDifference Delta-HyAB (HyAB colour difference) from ") != NULL,
          "its method is registered");
    check(strstr(log, "Unloaded plug-in ") > strstr(log, "Loaded plug-in "), "and unloaded at the end");

    snprintf(settings, sizeof settings, "DebugLogFolder = %s/log\nPluginIgnoreList = HyAB\n", folder);
    log = run_host(settings);
    check(strstr(log, "Ignored blacklisted library HyAB.so") != NULL && strstr(log, "Loaded plug-in") == NULL,
          "a plug-in on the ignore list is not loaded");

    snprintf(settings, sizeof settings, "DebugLogFolder = %s/log\nPluginFolder = %s/none\n", folder, folder);
    log = run_host(settings);
    check(strstr(log, "DirExists: ") != NULL && strstr(log, "/none") != NULL, "a missing plug-in folder is logged, the host goes on");

    log = run_host("DebugLogFolder =\n");
    check(log[0] == 0, "an empty log folder turns the log file off");
    return report();
}
