#include "doctor/Examinations.hpp"

#include "MCPStdio/json/JSONValue.hpp"
#include "doctor/Enabled.hpp"
#include "doctor/Programs.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/Kind.hpp"
#include "velmiro_mcp/services/Approval.hpp"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <unistd.h>

namespace velmiro::doctor {
namespace {

using MCPStdio::JSONMember;
using MCPStdio::JSONValue;

constexpr double longestQuestion = 120; // seconds

/// A client whose documentation tells where its configuration is, and how long it waits for a tool.
/// All of them have an object "mcpServers" of objects with "command", "args" and "env".
struct Client {
    std::string_view name;
    std::string_view file;   ///< below the home
    double unitsASecond;     ///< of the member "timeout" of a server; 0 if there is none
    double least;            ///< smaller values of "timeout" are ignored
    double secondsByDefault; ///< how long it waits; 0 if that is long enough
};

constexpr std::array clients{
    Client{"Claude Desktop", ".config/Claude/claude_desktop_config.json", 0, 0, 60},
    Client{"Claude Code", ".claude.json", 1000, 1000, 0},
    Client{"Cline",
           ".config/Code/User/globalStorage/saoudrizwan.claude-dev/settings/"
           "cline_mcp_settings.json",
           1, 1, 60},
    Client{"Gemini CLI", ".gemini/settings.json", 1000, 1, 600},
    Client{"Qwen Code", ".qwen/settings.json", 1000, 1, 600},
};

std::string textOf(const JSONValue* value) {
    return value != nullptr ? std::string{value->stringValue().value_or("")} : std::string{};
}

std::span<const JSONMember> membersOf(const JSONValue* value) {
    return value != nullptr ? value->objectValue().value_or(std::span<const JSONMember>{})
                            : std::span<const JSONMember>{};
}

bool isOurServer(const std::string& path) {
    constexpr std::string_view script = "/script/server";
    return lastName(path) == "velmiro_mcp" ||
           (path.ends_with(script) &&
            placeOf(path.substr(0, path.size() - script.size()) + "/velmiro_mcp").isFolder());
}

/// Returns the path by which a client starts the server; `nullopt` if it starts something else.
std::optional<std::string> serverStartedBy(const JSONValue& entry) {
    std::string command = textOf(entry["command"]);
    if (isOurServer(command)) {
        return command;
    }
    if (const JSONValue* const arguments = entry["args"]) {
        const auto all = arguments->arrayValue().value_or(std::span<const JSONValue>{});
        for (const JSONValue& one : all) {
            if (std::string argument = textOf(&one); isOurServer(argument)) {
                return argument;
            }
        }
    }
    return std::nullopt;
}

class ClientExamination {
public:
    ClientExamination(Section& section, const Client& client, const std::string& home)
        : section_{section},
          client_{client},
          home_{home},
          path_{home + "/" + std::string{client.file}} {}

    /// Returns how many of the client's entries start the server.
    std::size_t run() {
        constexpr std::size_t largest = 16UL << 20;
        if (placeOf(path_).what != Place::What::file) {
            return 0;
        }
        const auto bytes = local::readRegularFile(path_, largest);
        if (!bytes) {
            return 0;
        }
        try {
            const JSONValue configuration = JSONValue::parse(*bytes);
            std::size_t count = tellServers(configuration["mcpServers"]);
            for (const JSONMember& project : membersOf(configuration["projects"])) {
                count += tellServers(project.value["mcpServers"]);
            }
            return count;
        } catch (const MCPStdio::JSONError&) {
            section_.problem(name() + " cannot read its configuration: it is not JSON",
                             "python3 -m json.tool " + shellWord(path_) + " /dev/null");
            return 0;
        }
    }

private:
    [[nodiscard]] std::string name() const { return std::string{client_.name}; }

    std::size_t tellServers(const JSONValue* servers) {
        std::size_t count = 0;
        for (const JSONMember& server : membersOf(servers)) {
            if (const auto path = serverStartedBy(server.value)) {
                ++count;
                tellServer(std::string{server.key()}, server.value, *path);
            }
        }
        return count;
    }

    void tellServer(const std::string& entry, const JSONValue& server, const std::string& path) {
        section_.fact(name() + " starts it as " + named(entry));
        if (path.find('/') != std::string::npos && access(path.c_str(), X_OK) != 0) {
            section_.problem(
                name() + " cannot start " + visible(path) + ": it is not there",
                inFile("\"command\": " + JSONValue{programBeside("velmiro_mcp")}.jsonString()));
        }
        tellTimeout(entry, server["timeout"]);
        tellEnvironment(server["env"]);
    }

    void tellTimeout(const std::string& entry, const JSONValue* timeout) {
        double seconds = client_.secondsByDefault;
        const auto written = timeout != nullptr ? timeout->doubleValue() : std::nullopt;
        if (written && client_.unitsASecond > 0 && *written >= client_.least) {
            seconds = *written / client_.unitsASecond;
        }
        if (seconds <= 0 || seconds > longestQuestion) {
            return;
        }
        const std::string text = name() + " waits " + JSONValue{seconds}.jsonString() + " s for " +
                                 named(entry) + ", but the user has 120 s";
        if (client_.unitsASecond <= 0) {
            section_.hint(text + "; it has no setting");
            return;
        }
        constexpr double enough = 150;
        section_.problem(
            text + " to answer",
            inFile("\"timeout\": " + JSONValue{enough * client_.unitsASecond}.jsonString()));
    }

    void tellEnvironment(const JSONValue* environment) {
        if (environment == nullptr) {
            return;
        }
        if (const JSONValue* const enabled = (*environment)["VELMIRO_ENABLED"]) {
            const std::string value = textOf(enabled);
            const std::string mend =
                inFile("\"VELMIRO_ENABLED\": \"" + correctedEnabled(value) + "\"");
            const std::vector<std::string> wrong = namesOfNoKind(value);
            for (const std::string& no : wrong) {
                section_.problem(
                    name() + " sets VELMIRO_ENABLED to " + named(no) + ", which is no kind", mend);
            }
            if (wrong.empty() && enabledKinds({{"VELMIRO_ENABLED", value}}).empty()) {
                section_.problem(
                    name() + " sets VELMIRO_ENABLED to no kind: its agent sees no tools", mend);
            }
        }
        tellDifference(*environment, "HOME", home_);
        tellDifference(*environment, "VELMIRO_APPROVAL_SOCKET", approvalSocketPath());
    }

    /// Tells if the server gets another value than the doctor has.
    void tellDifference(const JSONValue& environment, const std::string& variable,
                        const std::string& ours) {
        const JSONValue* const theirs = environment[variable];
        if (theirs != nullptr && textOf(theirs) != ours) {
            section_.hint(name() + " sets " + variable + ": run the doctor with the same",
                          "export " + variable + "=" + shellWord(textOf(theirs)));
        }
    }

    /// Returns what to write into the configuration.
    [[nodiscard]] std::string inFile(const std::string& member) const {
        return "in " + visible(path_) + ": " + visible(member);
    }

    Section& section_;
    const Client& client_;
    std::string home_;
    std::string path_;
};

} // namespace

Section examineClients(const std::string& home) {
    Section section{"clients"};
    section.fact("a change waits up to 120 seconds for the user's answer, but many clients");
    section.fact("give up after 60: raise their limit for tool calls if they have one");
    std::size_t count = 0;
    for (const Client& client : clients) {
        count += ClientExamination{section, client, home}.run();
    }
    if (count == 0) {
        section.fact("none of the " + std::to_string(clients.size()) +
                     " configurations that are known here starts velmiro_mcp");
    }
    return section;
}

} // namespace velmiro::doctor
