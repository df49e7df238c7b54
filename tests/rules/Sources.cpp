#include "tests/rules/Sources.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <stdexcept>

namespace fs = std::filesystem;

namespace velmiro::rules {

bool isOurs(const std::string& path) {
    return path.find("node_modules/") == std::string::npos;
}

std::string projectFile(const std::string& path) {
    std::ifstream stream{fs::path{SOURCE_FOLDER} / path};
    if (!stream) {
        throw std::runtime_error{"cannot read " + path};
    }
    return {std::istreambuf_iterator<char>{stream}, {}};
}

std::vector<SourceFile> sourcesIn(const std::vector<std::string>& folders) {
    const fs::path root{SOURCE_FOLDER};
    const std::set<std::string> extensions{".cpp", ".hpp", ".mm", ".h"};
    std::vector<SourceFile> files;
    for (const std::string& folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator{root / folder}) {
            const std::string path = fs::relative(entry.path(), root).string();
            if (extensions.contains(entry.path().extension().string()) && isOurs(path)) {
                files.push_back({path, projectFile(path)});
            }
        }
    }
    std::ranges::sort(files, {}, &SourceFile::path);
    return files;
}

std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
    const std::regex expression{pattern, std::regex::multiline};
    std::vector<std::string> found;
    for (std::sregex_iterator at{text.begin(), text.end(), expression}, end; at != end; ++at) {
        found.push_back((*at)[at->size() > 1 ? 1 : 0]);
    }
    return found;
}

} // namespace velmiro::rules
