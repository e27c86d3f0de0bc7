// File-system helpers. Failures raise SystemError (68) with the operating system's error number
// and a text naming the operation and the path.
#pragma once

#include "io/TKFileSpec.h"

// Creates the folder, and with `parents` its missing parents too. An existing folder is fine.
void CreateDirectory(const TKFileSpec& folder, bool parents = false);
// Removes an empty folder.
void RemoveDirectory(const TKFileSpec& folder);
void DeleteFile(const TKFileSpec& file);
// Copies the bytes of a file, replacing the destination.
void CopyFile(const TKFileSpec& source, const TKFileSpec& destination);
// Renames, or copies and deletes when the two lie on different file systems.
void MoveFile(const TKFileSpec& source, const TKFileSpec& destination);
// Whether the path is a folder. With `mustExist` a missing path or a file raises SystemError.
bool DirExists(const TKFileSpec& folder, bool mustExist = false);
// Whether the path is a regular file.
bool FileExists(const TKFileSpec& file);
