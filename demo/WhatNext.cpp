#include "demo/WhatNext.hpp"

#include "MCPStdio/json/JSONValue.hpp"

#include <string>

namespace velmiro::demo {

namespace {

/// Returns a path as a word of a shell.
std::string shellWord(const std::string& path) {
    constexpr const char* safe =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+";
    if (path.find_first_not_of(safe) == std::string::npos) {
        return path;
    }
    std::string word;
    for (const char byte : path) {
        word += byte == '\'' ? std::string{"'\\''"} : std::string{byte};
    }
    return '\'' + word + '\'';
}

} // namespace

void tellWhatNext(Transcript& transcript, const std::filesystem::path& binaries, bool thereIsMore) {
    const std::string server =
        MCPStdio::JSONValue{(binaries / "velmiro_mcp").string()}.jsonString();
    transcript.heading("What next");
    transcript.note(
        "Keep this running in a terminal; without it, every change is refused at once:");
    transcript.verbatim("  " + shellWord((binaries / "approval_host").string()) + '\n');
    transcript.note(
        "Give this to your client, and let it wait 150 seconds for a call (README.md):");
    transcript.verbatim("  {\"mcpServers\": {\"velmiro\": {\n"
                        "    \"command\": " +
                        server +
                        ",\n"
                        "    \"args\": [],\n"
                        "    \"env\": {\"VELMIRO_ENABLED\": "
                        "\"calendar,reminders,contacts,notes,mail\"}}}}\n");
    transcript.note(thereIsMore
                        ? "See also: script/doctor (what it finds of your data), script/demo --all"
                        : "See also: script/doctor (what it finds of your data)");
}

} // namespace velmiro::demo
