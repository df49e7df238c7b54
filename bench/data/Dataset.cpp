#include "bench/data/Dataset.hpp"

#include "bench/System.hpp"

#include <sstream>

namespace velmiro::bench {

using MCPStdio::JSONValue;

Found textsOf(const JSONValue& payload, const char* list, const char* key) {
    Found found;
    for (const JSONValue& record : elementsOf(payload[list])) {
        found.insert(textOf(record[key]));
    }
    return found;
}

Found linesOf(const std::string& output, char separator) {
    Found found;
    std::istringstream lines{output};
    for (std::string line; std::getline(lines, line);) {
        if (const auto end = line.find(separator); end != 0 && !line.empty()) {
            found.insert(line.substr(0, end));
        }
    }
    return found;
}

Rival engineAlone(const Found& expected) {
    const std::string engine = programFolder().parent_path() / "libexec/velmiro/osascript";
    return {"the engine alone",
            {engine, "-l", "JavaScript", "-e", "''"},
            [expected](const std::string& output) {
                return output == "\n" ? expected : Found{}; // it finds nothing itself
            }};
}

} // namespace velmiro::bench
