// Searches a large address book by name, through the server and with khard, which reads the same
// files. Both must find the same people.

#include "bench/Figures.hpp"
#include "bench/Options.hpp"
#include "bench/System.hpp"
#include "bench/contacts/AddressBook.hpp"
#include "bench/transport/Load.hpp"
#include "bench/transport/Replies.hpp"
#include "bench/transport/Server.hpp"

#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;
using UIDs = std::set<std::string>;

/// No round takes this many seconds: something hangs, and SIGALRM ends us.
constexpr unsigned tooLong = 600;
constexpr std::size_t furtherSearches = 15;

void require(const UIDs& found, const AddressBook& book, const char* who) {
    if (found != book.rare()) {
        throw std::runtime_error{std::string{who} + " finds " + std::to_string(found.size()) +
                                 " people instead of " + std::to_string(book.rare().size())};
    }
}

UIDs foundIn(const std::string& reply) {
    const auto result = resultOf(reply);
    const JSONValue& content = result["content"]->arrayValue()->front();
    const auto payload = JSONValue::parse(*content["text"]->stringValue());
    const auto contacts = payload["contacts"]->arrayValue();
    UIDs found;
    for (const JSONValue& contact : *contacts) {
        found.emplace(*contact["id"]->stringValue());
    }
    return found;
}

Request searchFor(const std::string& name) {
    return {R"(,"method":"tools/call","params":{"name":"contacts_search","arguments":{"query":")" +
            name + R"(","limit":50}})"};
}

struct Searches {
    double first;   ///< from before the process is made to its reply
    double further; ///< the median of those that follow
};

Searches takeServer(const AddressBook& book) {
    const Request request = searchFor(AddressBook::rareName);
    const std::string line = request.lines(1);
    const double before = seconds();
    Server server{{programFolder() / "velmiro_mcp"}};
    std::string reply = firstReply(server, line) + '\n';
    const double first = seconds() - before;
    require(foundIn(reply), book, "velmiro_mcp");
    std::vector<double> trips(furtherSearches);
    roundTrips(server, line, reply, trips);
    require(foundIn(reply), book, "velmiro_mcp");
    return {first, median(std::move(trips))};
}

/// khard is a program that is started for each search.
double takeKhard(const AddressBook& book) {
    const double before = seconds();
    std::string output;
    {
        const Server khard{{"/usr/bin/khard", "-c", book.khardSettings(), "list", "--parsable",
                            AddressBook::rareName}};
        std::array<char, 4096> chunk{};
        for (ssize_t count = 0;
             (count = ::read(khard.replies(), chunk.data(), chunk.size())) > 0;) {
            output.append(chunk.data(), static_cast<std::size_t>(count));
        }
    }
    const double taken = seconds() - before;
    UIDs found;
    std::istringstream lines{output};
    for (std::string line; std::getline(lines, line);) {
        if (const auto tab = line.find('\t'); tab != std::string::npos) {
            found.insert(line.substr(0, tab));
        }
    }
    require(found, book, "khard");
    return taken;
}

std::string milliseconds(double cost) {
    return decimal(cost * 1e3, 1) + " ms";
}

void run(const Options& options) {
    std::cout << "contacts_bench: a search by name among " << AddressBook::people
              << " cards in as many files, which the system\nhas in memory. ";
    if (options.pinned) {
        std::cout << "All on CPU " << stayOnOneCPU() << ".\n";
    } else {
        std::cout << "On any CPU.\n";
    }
    std::cout << "Ratios are costs, velmiro_mcp = 1.00, lower is better; medians of "
              << options.rounds << " rounds.\n\n"
              << std::flush;
    ::signal(SIGPIPE, SIG_IGN);
    const AddressBook book;
    ::setenv("HOME", book.home().c_str(), 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);

    Figure first{"first search, with the start of the program", "seconds", milliseconds, {}};
    Figure further{"further searches", "seconds", milliseconds, {}};
    for (Figure* figure : {&first, &further}) {
        figure->costs = {{"velmiro_mcp", {}}, {"khard", {}}};
    }
    inTurns(options.rounds, 2, [&](std::size_t contender) {
        ::alarm(tooLong);
        if (contender == 0) {
            const Searches taken = takeServer(book);
            first.costs[0].samples.push_back(taken.first);
            further.costs[0].samples.push_back(taken.further);
        } else {
            const double taken = takeKhard(book);
            first.costs[1].samples.push_back(taken);
            further.costs[1].samples.push_back(taken);
        }
    });
    const std::vector<Figure> figures{std::move(first), std::move(further)};
    printTable({"velmiro_mcp", "khard"}, figures, Ratio::cost);
    if (options.json) {
        saveJSON(*options.json, "contacts_bench",
                 JSONValue::object({{"rounds", options.rounds},
                                    {"pinned", options.pinned},
                                    {"figures", asJSON(figures, Ratio::cost)}}));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        run(readOptions(argumentCount, arguments, 3));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "contacts_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
