#pragma once

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

namespace velmiro::local {

/// Makes rules that calendar programs write and some that they do not, but none that hardly ever
/// match. It leaves out what libical 3.0.16 gets wrong: BYSETPOS except for weekdays of a month
/// (among several times of one day it counts days), every second week and the like with times other
/// than the start's, and BYHOUR in rules of minutes or seconds with an interval.
class RuleMaker {
public:
    explicit RuleMaker(unsigned seed) : random_{seed} {}

    int number(int lowest, int highest) {
        return std::uniform_int_distribution{lowest, highest}(random_);
    }

    bool perhaps(int oneIn) { return number(1, oneIn) == 1; }

    std::string rule() {
        switch (number(0, 6)) {
        case 0:
            return "FREQ=YEARLY" + interval(3) + yearly() + times();
        case 1:
            return "FREQ=MONTHLY" + interval(5) + monthly();
        case 2:
            return "FREQ=WEEKLY" + (perhaps(2) ? times() : interval(4)) + weekStart() +
                   (perhaps(2) ? ";BYDAY=" + days(false) : "") + months();
        case 3:
            return "FREQ=DAILY" + interval(9) + (perhaps(3) ? ";BYDAY=" + days(false) : "") +
                   (perhaps(4) ? ";BYMONTHDAY=" + numbers(1, 28, 12) : "") + months() + times();
        case 4:
            return "FREQ=HOURLY" + interval(30) + (perhaps(2) ? ";BYDAY=" + days(false) : "") +
                   months() + (perhaps(3) ? ";BYMINUTE=" + numbers(0, 59, 3) : "");
        case 5:
            return "FREQ=MINUTELY;INTERVAL=" + std::to_string(number(50, 3000)) + months();
        default:
            return "FREQ=SECONDLY;INTERVAL=" + std::to_string(number(3000, 30'000)) + months();
        }
    }

private:
    std::string interval(int highest) {
        return perhaps(2) ? ";INTERVAL=" + std::to_string(number(1, highest)) : "";
    }

    std::string numbers(int lowest, int highest, int most) {
        std::vector<int> list;
        for (int count = number(1, most); count > 0; --count) {
            const int value = number(lowest, highest);
            if (std::ranges::find(list, value) == list.end() && (value != 0 || lowest == 0)) {
                list.push_back(value);
            }
        }
        if (list.empty()) {
            list.push_back(1);
        }
        std::ranges::sort(list);
        std::string text;
        for (const int value : list) {
            text += (text.empty() ? "" : ",") + std::to_string(value);
        }
        return text;
    }

    std::string days(bool ordinals) {
        static constexpr std::array names{"MO", "TU", "WE", "TH", "FR", "SA", "SU"};
        std::string text;
        for (const char* name : names) {
            if (perhaps(3)) {
                const int ordinal = number(-4, 4);
                const bool counted = ordinals && ordinal != 0;
                text += (text.empty() ? "" : ",") + (counted ? std::to_string(ordinal) : "") + name;
            }
        }
        return text.empty() ? "WE" : text;
    }

    std::string months() { return perhaps(4) ? ";BYMONTH=" + numbers(1, 12, 6) : ""; }
    std::string weekStart() { return perhaps(3) ? ";WKST=SU" : ""; }

    std::string times() {
        return (perhaps(5) ? ";BYHOUR=" + numbers(0, 23, 3) : "") +
               (perhaps(6) ? ";BYMINUTE=" + numbers(0, 59, 3) : "") +
               (perhaps(9) ? ";BYSECOND=" + numbers(0, 59, 2) : "");
    }

    std::string timesOrPosition() {
        return perhaps(4) ? ";BYSETPOS=" + (perhaps(2) ? "-1" : std::to_string(number(1, 3)))
                          : times();
    }

    std::string monthly() {
        switch (number(0, 3)) {
        case 0:
            return times();
        case 1:
            return ";BYDAY=" + days(true) + months() + timesOrPosition();
        case 2:
            return ";BYMONTHDAY=" + numbers(-28, 28, 4) + months() + times();
        default:
            return ";BYDAY=" + days(false) + ";BYMONTHDAY=" + numbers(1, 28, 9) + times();
        }
    }

    std::string yearly() {
        switch (number(0, 4)) {
        case 0:
            return "";
        case 1:
            return ";BYMONTH=" + numbers(1, 12, 3) + ";BYDAY=" + days(true);
        case 2:
            return ";BYMONTH=" + numbers(1, 12, 3) + ";BYMONTHDAY=" + numbers(-28, 28, 3);
        case 3:
            return ";BYYEARDAY=" + numbers(-365, 365, 5);
        default:
            return ";BYDAY=" + days(true);
        }
    }

    std::mt19937 random_;
};

} // namespace velmiro::local
