#include "tests/theorem/Description.hpp"

#include <array>

namespace velmiro::theorem {
namespace {

std::string nameOf(Path path) {
    constexpr std::array<const char*, 5> names{"the first path", "the second path",
                                               "the standard path", "the longest path",
                                               "a path that is too long"};
    return names.at(static_cast<std::size_t>(path));
}

std::string shortened(const std::string& text) {
    constexpr std::size_t most = 120;
    std::string shown;
    for (const char character : text.substr(0, most)) {
        const bool isControl = static_cast<unsigned char>(character) < ' ';
        shown += character == '\n' ? "⏎" : isControl ? "·" : std::string{character};
    }
    return text.size() > most ? shown + "… (" + std::to_string(text.size()) + " bytes)" : shown;
}

std::string describedStep(const History& history, const Step& step) {
    constexpr std::array<const char*, 20> texts{
        "the variable names",
        "there is no variable",
        "a host listens at",
        "a host listens behind a link at",
        "nothing is at",
        "a file is at",
        "a folder is at",
        "a dead socket is at",
        "ends: host",
        "stops listening: host",
        "asked:",
        "asked without descriptors:",
        "reads the question:",
        "reads a part of the question:",
        "sends",
        "sends, and hangs up:",
        "hangs up:",
        "shuts down its side:",
        "is silent until the client gives up:",
        "pauses",
    };
    std::string text = texts.at(static_cast<std::size_t>(step.act));
    if (step.act <= Act::putDeadSocket && step.act != Act::removeVariable) {
        text += " " + nameOf(step.path);
    } else if (step.act == Act::killHost || step.act == Act::stopListening) {
        text += " " + std::to_string(step.host);
    }
    for (const std::size_t question : step.questions) {
        text += " #" + std::to_string(question);
        if (step.act == Act::ask || step.act == Act::askWithoutDescriptors) {
            text += " " + shortened(questionLine(history.questions[question].call));
        }
    }
    if (step.act == Act::send || step.act == Act::sendAndHangUp) {
        const auto bytes =
            history.questions[step.question()].bytes.substr(step.from, step.to - step.from);
        text += std::string{step.waits ? " (waits)" : ""} + " " + shortened(bytes);
    } else if (step.act == Act::pause) {
        text += " for " + std::to_string(step.length.count()) + " ms";
    }
    return text;
}

} // namespace

std::string described(const History& history) {
    std::string text;
    for (const Step& step : history.steps) {
        text += "    " + describedStep(history, step) + "\n";
    }
    return text;
}

} // namespace velmiro::theorem
