// How the time of a call grows with the amount of data.

#include "bench/System.hpp"
#include "bench/data/Items.hpp"
#include "bench/data/Timing.hpp"
#include "bench/scale/Series.hpp"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <iterator>
#include <list>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmiro::bench {
namespace {

/// A turn that takes this many seconds hangs; SIGALRM then ends the benchmark.
constexpr unsigned tooLong = 100;
constexpr std::size_t lookCount = 15;

/// A kind of data, and the counts of items at which it is measured.
struct Scenario {
    std::vector<Question> (*make)(const Home& home, int items);
    const char* folder; ///< contains one file for each item
    std::vector<int> counts;
    std::size_t furtherCalls;
};

/// The data for one count.
struct Data {
    Home home;
    std::filesystem::path folder;
    std::vector<Question> questions;
};

/// Lists a folder and reads the status of each file, in as few system calls as possible. Returns
/// the seconds.
double lookAtAll(const std::filesystem::path& path) {
    const double before = seconds();
    DIR* const folder = ::opendir(path.c_str());
    if (folder == nullptr) {
        throw std::system_error{errno, std::generic_category(), path.string()};
    }
    while (const dirent* entry = ::readdir(folder)) {
        struct stat status{};
        ::fstatat(::dirfd(folder), entry->d_name, &status, 0);
    }
    ::closedir(folder);
    return seconds() - before;
}

/// Divides a series by the thousands of items. Where the result does not rise, growth is linear or
/// better.
Series perThousand(Series series) {
    series.name += ", per 1,000";
    for (Point& point : series.points) {
        for (double& sample : point.samples) {
            sample *= 1'000.0 / point.count;
        }
    }
    return series;
}

/// Returns the highest step of growth beyond linear from one count to the next, relative to that of
/// looking at the files, which takes longer per file the more files the system knows.
double excessGrowth(const Series& perThousand, const Series& looksPerThousand) {
    double highest = 0;
    for (std::size_t i = 1; i < perThousand.points.size(); ++i) {
        std::vector<double> rounds(perThousand.points[i].samples.size());
        for (std::size_t round = 0; round < rounds.size(); ++round) {
            const auto step = [&](const Series& series) {
                return series.points[i].samples[round] / series.points[i - 1].samples[round];
            };
            rounds[round] = step(perThousand) / std::max(1.0, step(looksPerThousand));
        }
        highest = std::max(highest, median(std::move(rounds)));
    }
    return highest;
}

Target growsBy(double excess) {
    constexpr double most = 1.25; // the cost of an item depends on the caches of the machine
    return {Target::Bound::atMost, most, [excess](const Figure&) { return excess; },
            [](double ratio) { return decimal(ratio, 2); }};
}

Report ask(const std::list<Data>& all, const Scenario& scenario, std::size_t question, int rounds) {
    Series first{"first call of a new server", "seconds", milliseconds};
    Series further{"a further call", "seconds", milliseconds};
    Series looks{"looking at each file, alone", "seconds", milliseconds};
    for (Series* series : {&first, &further, &looks}) {
        for (const int count : scenario.counts) {
            series->points.push_back({count, {}});
        }
    }
    inTurns(rounds, scenario.counts.size(), [&](std::size_t turn) {
        ::alarm(tooLong);
        const Data& data = *std::next(all.begin(), static_cast<std::ptrdiff_t>(turn));
        data.home.enter();
        const Timing taken = timeServer(data.questions[question], scenario.furtherCalls);
        first.points[turn].samples.push_back(taken.first);
        further.points[turn].samples.push_back(taken.further);
        std::vector<double> times(lookCount);
        std::ranges::generate(times, [&] { return lookAtAll(data.folder); });
        looks.points[turn].samples.push_back(median(std::move(times)));
    });
    const Question& largest = all.back().questions[question];
    Report report{largest.title + ", and fewer (" + largest.tool + ")", Ratio::cost};
    const Series looksPerThousand = perThousand(looks);
    for (const Series& series : {first, further}) {
        Series each = perThousand(series);
        each.target = growsBy(excessGrowth(each, looksPerThousand));
        report.series.push_back(series);
        report.series.push_back(std::move(each));
    }
    report.series.push_back(std::move(looks));
    report.series.push_back(looksPerThousand);
    return report;
}

std::vector<Report> measure(const Scenario& scenario, int rounds) {
    std::list<Data> all; // a home cannot be moved
    for (const int count : scenario.counts) {
        ::alarm(tooLong);
        Data& data = all.emplace_back();
        data.folder = data.home.folder(scenario.folder);
        data.questions = scenario.make(data.home, count);
    }
    all.back().home.settle();
    std::vector<Report> reports;
    for (std::size_t question = 0; question < all.front().questions.size(); ++question) {
        reports.push_back(ask(all, scenario, question, rounds));
    }
    ::alarm(0);
    return reports;
}

} // namespace

std::vector<Report> measureCalendar(int rounds) {
    return measure({makeCalendar, "Calendars/work", {100, 1'000, 10'000}, 15}, rounds);
}

std::vector<Report> measureMail(int rounds) {
    return measure({makeMail, "Mail/cur", {200, 2'000, 20'000}, 3}, rounds);
}

} // namespace velmiro::bench
