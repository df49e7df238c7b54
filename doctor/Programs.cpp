#include "doctor/Programs.hpp"

#include "doctor/Examinations.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/icalendar/Libical.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"
#include "velmiro_mcp/ports/LocalizedText.hpp"
#include "velmiro_mcp/ports/OSAScriptPath.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"
#include "velmiro_mcp/services/Subprocess.hpp"

#include <system_error>

namespace velmiro::doctor {
namespace {

constexpr const char* reinstall = "script/setup run && script/build"; // or the package, again

/// What the interpreter of scripts says to the smallest script.
struct Answer {
    bool isRight = false;
    std::string complaint; ///< the first line of its standard error
};

Answer askInterpreter(const std::string& path, std::chrono::milliseconds patience) {
    Subprocess process{
        path, {path, "-l", "JavaScript", "-e", "function run(argv) { return argv[0] }", "velmiro"}};
    bool isLate = false;
    process.terminateAt(Subprocess::Clock::now() + patience, [&] { isLate = true; });
    const std::string output = process.readOutputToEnd();
    const std::string error = process.readErrorToEnd();
    const bool hasSucceeded = process.waitUntilExit();
    if (isLate) {
        return {false, "no answer within " + std::to_string(patience.count() / 1000) + " seconds"};
    }
    const std::string_view complaint = trim(error);
    return {hasSucceeded && trim(output) == "velmiro",
            std::string{complaint.substr(0, complaint.find('\n'))}};
}

void examineInterpreter(Section& section, std::chrono::milliseconds patience) {
    const std::string path = osascriptPath();
    const Place place = placeOf(path);
    if (place.what != Place::What::file) {
        section.problem(visible(path) + " is missing: notes and mail fail", reinstall);
        return;
    }
    try {
        const Answer answer = askInterpreter(path, patience);
        if (answer.isRight) {
            section.fact("scripts for notes and mail run");
        } else {
            section.problem("scripts for notes and mail fail: " + visible(answer.complaint),
                            reinstall);
        }
    } catch (const std::system_error& error) {
        section.problem(visible(path) + " does not start: " + reasonOf(error.code()), reinstall);
    }
}

/// Calls something that needs a library which is loaded on first use.
template <typename Use>
void examineLibrary(Section& section, const std::string& name, const Use& use) {
    try {
        use();
        section.fact(name + " is there");
    } catch (const PlatformError& error) {
        section.problem(visible(error.what()), reinstall);
    }
}

} // namespace

std::string programBeside(const std::string& name) {
    const Place self = placeOf("/proc/self/exe");
    const std::string path = local::parentOf(self.target) + "/" + name;
    return placeOf(path).what == Place::What::file ? path : name;
}

Section examinePrograms(std::chrono::milliseconds patience) {
    Section section{"programs"};
    examineLibrary(section, "libical", [] { local::readDuration("P1D"); });
    examineLibrary(section, "ICU", [] {
        static_cast<void>(equalIgnoringCase("É", "é"));
        static_cast<void>(localizedDate(currentInstant()));
    });
    examineInterpreter(section, patience);
    return section;
}

} // namespace velmiro::doctor
