#include "bench/data/Dataset.hpp"

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

} // namespace velmiro::bench
