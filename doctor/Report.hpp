#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What the doctor says, as text for a person.
namespace velmiro::doctor {

enum class Weight {
    fact,    ///< as it is
    hint,    ///< worth knowing, but nothing is lost
    problem, ///< something is not read, or does not work
};

/// One line of a report. All of its text is in visible characters.
struct Finding {
    Weight weight;
    std::string text;
    std::string mend; ///< a command for a shell, or what to do; empty for most facts
};

/// What was found out about one subject.
class Section {
public:
    explicit Section(std::string title) : title_{std::move(title)} {}

    void fact(std::string text) { add(Weight::fact, std::move(text), {}); }
    void hint(std::string text, std::string mend = {}) {
        add(Weight::hint, std::move(text), std::move(mend));
    }
    void problem(std::string text, std::string mend) {
        add(Weight::problem, std::move(text), std::move(mend));
    }

    /// Appends the findings of another section.
    void append(const Section& other) {
        findings_.insert(findings_.end(), other.findings_.begin(), other.findings_.end());
    }

    /// Notes that the folder of this kind exists, and that it holds this many more items.
    void exists() noexcept { doesExist_ = true; }
    void addItems(std::size_t items) noexcept { items_ += items; }
    [[nodiscard]] bool doesExist() const noexcept { return doesExist_; }
    [[nodiscard]] std::size_t items() const noexcept { return items_; }

    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    [[nodiscard]] const std::vector<Finding>& findings() const noexcept { return findings_; }
    [[nodiscard]] std::size_t problems() const noexcept { return count(Weight::problem); }
    [[nodiscard]] std::size_t hints() const noexcept { return count(Weight::hint); }

private:
    [[nodiscard]] std::size_t count(Weight weight) const noexcept;
    void add(Weight weight, std::string text, std::string mend) {
        findings_.push_back({weight, std::move(text), std::move(mend)});
    }

    std::string title_;
    std::vector<Finding> findings_;
    bool doesExist_ = false;
    std::size_t items_ = 0;
};

/// Returns the lines of a section: its title, then each finding on one line. A problem begins with
/// `! `, and its mend follows on a line of its own, to be pasted.
std::string textOf(const Section& section, bool inColour);

/// Returns the last line of the report.
std::string verdict(std::size_t problems, bool inColour);

} // namespace velmiro::doctor
