// The chart files of a folder of the test data.
#pragma once

#include <dirent.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/TestSupport.h"

// Paths of the files in a folder below tests/data, sorted; empty when the folder is missing.
inline std::vector<std::string> TestDataFiles(const std::string& folder) {
    std::vector<std::string> paths;
    const std::string root = TestDataPath(folder);
    if (DIR* dir = opendir(root.c_str())) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.') paths.push_back(root + "/" + entry->d_name);
        closedir(dir);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}
