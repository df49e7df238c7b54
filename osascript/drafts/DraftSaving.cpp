#include "osascript/drafts/DraftSaving.hpp"

#include "osascript/dictionary/ScriptError.hpp"
#include "osascript/drafts/DraftSender.hpp"
#include "osascript/drafts/DraftText.hpp"
#include "velmiro_mcp/platform/local/files/FileCreation.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/Random.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <array>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

void throwIf(const std::error_code& error) {
    if (error) {
        throw ScriptError{"the draft cannot be saved: " + error.message()};
    }
}

void makeFolder(const std::string& path) {
    throwIf(local::makeFolders(path) ? std::error_code{} : local::lastError());
}

/// Creates what makes a folder of a Maildir, and the Maildir around it.
void makeDraftsFolder(const std::string& maildir, const std::string& drafts) {
    for (const char* part : {"/cur", "/new", "/tmp"}) {
        makeFolder(maildir + part);
        makeFolder(drafts + part);
    }
    // This file tells a folder of a Maildir from a Maildir. It is empty, so it needs no hidden file
    // first, which a process that is killed would leave where no later one looks.
    const std::string mark = drafts + "/maildirfolder";
    if (!local::stampOf(mark)) {
        const local::Descriptor file{
            open(mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)};
        throwIf(file ? local::flushFolder(drafts) : local::lastError());
    }
}

/// Returns this machine's name with only such characters as names of files and addresses have.
std::string hostName() {
    std::array<char, 256> buffer{};
    gethostname(buffer.data(), buffer.size() - 1);
    constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
    std::string name = buffer.data();
    for (char& letter : name) {
        letter = allowed.find(letter) == std::string_view::npos ? '_' : letter;
    }
    return name.empty() ? "localhost" : name;
}

std::string randomDigits() {
    std::string digits = local::randomUUID();
    std::erase(digits, '-');
    return digits;
}

} // namespace

void saveDraft(const std::string& maildir, const Draft& draft) {
    const std::string drafts = maildir + "/.Drafts";
    makeDraftsFolder(maildir, drafts);

    const Instant now = currentInstant();
    const auto milliseconds = now.time_since_epoch().count();
    const std::string random = randomDigits();
    const std::string host = hostName();
    const std::string name = std::to_string(milliseconds / 1000) + ".M" +
                             std::to_string(milliseconds % 1000) + "P" + std::to_string(getpid()) +
                             "R" + random + "." + host + ":2,DS";
    const std::string identifier = std::to_string(milliseconds) + "." + random + "@" + host;
    const std::string text = draftText(draft, {now, identifier, draftSender(maildir)});
    throwIf(local::createFile(drafts + "/cur", name, text));
}

} // namespace velmiro::osascript
