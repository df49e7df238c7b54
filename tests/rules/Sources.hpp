#pragma once

#include <string>
#include <vector>

/// The project's own source files, for rules about them.
namespace velmiro::rules {

struct SourceFile {
    std::string path; ///< relative to the project's folder
    std::string text;
};

/// Returns whether a file is ours: npm installs packages among our folders.
bool isOurs(const std::string& path);

/// Returns the C++ and Objective-C++ files in these folders and below.
std::vector<SourceFile> sourcesIn(const std::vector<std::string>& folders);

/// Returns the text of a file of the project. Throws std::runtime_error if it cannot be read.
std::string projectFile(const std::string& path);

/// Returns every match of a regular expression, or its first group where it has one. ^ and $ match
/// at each line.
std::vector<std::string> matches(const std::string& text, const std::string& pattern);

} // namespace velmiro::rules
