#include "tests/macos_check/Talk.hpp"

#include <algorithm>
#include <iostream>
#include <utility>

namespace velmiro::check {
namespace {

const char* wordFor(Verdict verdict) {
    switch (verdict) {
    case Verdict::asExpected:
        return "as expected";
    case Verdict::otherwise:
        return "OTHERWISE";
    case Verdict::notSeen:
        return "not seen";
    }
    return "";
}

} // namespace

bool Talk::agrees(const std::string& question) {
    std::cout << "\n" << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "yes";
}

bool Talk::waitsFor(const std::string& request) {
    std::cout << "\n" << request << " Then press Return, or type s to skip this. " << std::flush;
    std::string answer;
    return std::getline(std::cin, answer) && answer.empty();
}

void Talk::found(const std::string& what, const std::string& expected, const std::string& saw,
                 bool asExpected) {
    add({what, "expected " + expected + "; saw " + saw,
         asExpected ? Verdict::asExpected : Verdict::otherwise});
}

void Talk::skipped(const std::string& what, const std::string& why) {
    add({what, why, Verdict::notSeen});
}

void Talk::remark(const std::string& text) {
    std::cout << text << "\n";
}

void Talk::add(Finding finding) {
    std::cout << "\n"
              << finding.what << ": " << wordFor(finding.verdict) << "\n    " << finding.text
              << "\n"
              << std::flush;
    findings_.push_back(std::move(finding));
}

bool Talk::report() const {
    std::cout << "\n---- report ----\n";
    for (const Finding& finding : findings_) {
        std::cout << "- " << wordFor(finding.verdict) << ": " << finding.what << " ("
                  << finding.text << ")\n";
    }
    std::cout << "---- end of the report ----\n";
    return std::ranges::none_of(
        findings_, [](const Finding& finding) { return finding.verdict == Verdict::otherwise; });
}

} // namespace velmiro::check
