#pragma once

#include <cstddef>

// The record of what a program changes in files, one line for each successful call. Files and
// folders are known by their inodes; fields are separated by tabs:
//
//   create FOLDER NAME INODE        nameless INODE
//   write INODE OFFSET HEX          flush INODE
//   link INODE FOLDER NAME          unlink FOLDER NAME
//   rename FOLDER NAME FOLDER NAME  exchange FOLDER NAME FOLDER NAME
//   mkdir FOLDER NAME INODE         rmdir FOLDER NAME

namespace velmiro::test {

void recordOpening(int folder, const char* path, int flags, int file) noexcept;
void recordWrite(int file, const void* bytes, long written) noexcept;
void recordFlush(int file) noexcept;
void recordRename(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                  bool isExchange) noexcept;
void recordLink(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                int flags) noexcept;
void recordRemoval(int folder, const char* path, bool isFolder) noexcept;
void recordFolder(int folder, const char* path) noexcept;

} // namespace velmiro::test
