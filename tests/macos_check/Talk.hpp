#pragma once

#include <string>
#include <vector>

namespace velmiro::check {

/// The outcome of checking an assumption.
enum class Verdict { asExpected, otherwise, notSeen };

/// The conversation with the person at the terminal: questions, findings as they arrive, and at the
/// end all of them again, as a report to paste.
class Talk {
public:
    /// Returns whether the person types y or yes. The end of the input is a no.
    bool agrees(const std::string& question);
    /// Returns whether the person did what they were asked to and pressed Return; false at the end
    /// of the input.
    bool waitsFor(const std::string& request);

    void found(const std::string& what, const std::string& expected, const std::string& saw,
               bool asExpected);
    void skipped(const std::string& what, const std::string& why);
    /// Tells the person something that is neither right nor wrong.
    void remark(const std::string& text);

    /// Prints all findings. Returns false if one of them was not as expected.
    bool report() const;

private:
    struct Finding {
        std::string what;
        std::string text;
        Verdict verdict;
    };
    void add(Finding finding);

    std::vector<Finding> findings_;
};

} // namespace velmiro::check
