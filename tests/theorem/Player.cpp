#include "tests/theorem/Player.hpp"

#include "support/Eventually.hpp"
#include "tests/theorem/DescriptorShortage.hpp"
#include "tests/theorem/Model.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <linux/sockios.h>
#include <poll.h>
#include <set>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <thread>

namespace velmiro::theorem {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Longer than any step takes, also on a busy machine. After this, something hangs.
constexpr milliseconds hang{30'000};

/// The kernel's timers may be early by less than this.
constexpr milliseconds tick{10};

/// Returns whether one of these events occurs in time.
bool waitFor(int descriptor, short events, milliseconds limit) {
    pollfd waiting{descriptor, events, 0};
    return ::poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

/// One history while it is played.
class Play {
public:
    Play(const History& history, Client& client, Host& host, Totals& totals)
        : history_{history},
          client_{client},
          host_{host},
          totals_{totals} {}

    void run() {
        client_.begin(history_.patience);
        for (const Step& step : history_.steps) {
            perform(step);
            awaitDecided();
        }
        checkConnections();
        checkChanges();
    }

private:
    void perform(const Step& step) {
        switch (step.act) {
        case Act::nameByVariable:
            ::setenv("VELMIRO_APPROVAL_SOCKET",
                     step.path == Path::standard ? "" : host_.pathOf(step.path).c_str(), 1);
            break;
        case Act::removeVariable:
            ::unsetenv("VELMIRO_APPROVAL_SOCKET");
            break;
        case Act::listen:
            host_.listen(step.path);
            break;
        case Act::listenBehindLink:
            host_.listenBehindLink(step.path);
            break;
        case Act::putNothing:
            host_.putNothing(step.path);
            break;
        case Act::putFile:
            host_.putFile(step.path);
            break;
        case Act::putFolder:
            host_.putFolder(step.path);
            break;
        case Act::putDeadSocket:
            host_.putDeadSocket(step.path);
            break;
        case Act::killHost:
            host_.kill(step.host);
            break;
        case Act::stopListening:
            host_.stopListening(step.host);
            break;
        case Act::ask:
            ask(step);
            break;
        case Act::askWithoutDescriptors: {
            const DescriptorShortage shortage;
            start(step.question());
            await(step.question());
            break;
        }
        case Act::read:
            read(step.question());
            break;
        case Act::readPart:
            readPart(step.question());
            break;
        case Act::send:
            send(step);
            break;
        case Act::sendAndHangUp:
            sendAndHangUp(step);
            break;
        case Act::hangUp:
            host_.hangUp(step.question());
            break;
        case Act::shutDown:
            ::shutdown(host_.connection(step.question()), SHUT_WR);
            break;
        case Act::expire:
            expire(step.question());
            break;
        case Act::pause:
            std::this_thread::sleep_for(step.length);
            break;
        }
        model_.apply(step);
        if (step.act == Act::send && step.waits && model_.isReading(step.question())) {
            awaitReading(step.question());
        }
    }

    [[noreturn]] static void fail(std::size_t question, const std::string& what) {
        throw Violation{"question #" + std::to_string(question) + ": " + what};
    }

    [[nodiscard]] const Call& call(std::size_t question) const {
        return history_.questions[question].call;
    }

    void start(std::size_t question) {
        touched_[question] = Clock::now();
        open_.insert(question);
        ++totals_.questions;
        client_.start(question, call(question));
    }

    void ask(const Step& step) {
        const auto host = model_.reachableHost();
        for (const std::size_t question : step.questions) {
            start(question);
        }
        if (!host) {
            return;
        }
        std::vector<int> connections;
        for (std::size_t count = 0; count < step.questions.size(); ++count) {
            awaitConnection(*host, step.questions);
            connections.push_back(host_.acceptUnknown(*host));
        }
        if (connections.size() == 1) {
            host_.name(connections.front(), step.question());
            return;
        }
        for (const int connection : connections) { // of several, each is known by what it asks
            const std::string line = ::velmiro::theorem::readLine(connection, 2 * sizeOfLargeTitle);
            const auto asked = std::ranges::find_if(step.questions, [&](std::size_t question) {
                return line == questionLine(call(question)) + "\n";
            });
            if (asked == step.questions.end()) {
                throw Violation{"nobody was to ask " + line};
            }
            host_.name(connection, *asked);
            heard_[*asked] = line;
        }
    }

    /// Waits for a connection, unless one of the questions ends without any.
    void awaitConnection(std::size_t host, const std::vector<std::size_t>& questions) {
        const auto end = Clock::now() + hang;
        do {
            pollfd waiting[]{{host_.listener(host), POLLIN, 0}, {client_.signal(), POLLIN, 0}};
            ::poll(waiting, 2, 100);
            if (waiting[0].revents != 0) {
                return;
            }
            for (const std::size_t question : questions) {
                if (client_.outcome(question)) {
                    fail(question, "answered without asking the host that listens");
                }
            }
        } while (Clock::now() < end);
        fail(questions.front(), "does not connect to the host that listens");
    }

    void read(std::size_t question) {
        std::string& line = heard_[question];
        const std::string expected = questionLine(call(question)) + "\n";
        if (line.size() < expected.size()) {
            line += ::velmiro::theorem::readLine(host_.connection(question),
                                                 expected.size() + 1 - line.size());
        }
        if (line != expected) {
            fail(question, "the host is asked " + line.substr(0, 500));
        }
    }

    void readPart(std::size_t question) {
        const auto whole = questionLine(call(question)).size() + 1;
        if (heard_[question].size() < whole) {
            heard_[question] += ::velmiro::theorem::readLine(
                host_.connection(question), std::min(whole / 2, std::size_t{3000}));
        }
    }

    void sendBytes(std::size_t question, std::string_view bytes) {
        const int connection = host_.connection(question);
        while (!bytes.empty()) {
            const ssize_t count =
                ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count >= 0) {
                bytes.remove_prefix(static_cast<std::size_t>(count));
            } else if (errno != EAGAIN || !waitFor(connection, POLLOUT, hang)) {
                return; // the client has closed its end
            }
        }
    }

    void send(const Step& step) {
        const std::size_t question = step.question();
        const auto before = std::exchange(touched_[question], Clock::now());
        const std::string& bytes = history_.questions[question].bytes;
        sendBytes(question, std::string_view{bytes}.substr(step.from, step.to - step.from));
        // The client waits for at least its patience after the bytes before these were sent.
        if (Clock::now() - before >= history_.patience - tick) {
            model_.comeTooLate(question);
        }
    }

    void sendAndHangUp(const Step& step) {
        const std::size_t question = step.question();
        if (step.waits && heard_[question].empty() &&
            !waitFor(host_.connection(question), POLLIN, hang)) {
            fail(question, "connects and sends no question");
        }
        send(step);
        host_.hangUp(question);
    }

    /// Waits until the client has read all that was sent to it, or has ended.
    void awaitReading(std::size_t question) {
        const auto end = Clock::now() + hang;
        int unread = 1;
        while (::ioctl(host_.connection(question), SIOCOUTQ, &unread) == 0 && unread > 0) {
            if (client_.outcome(question)) {
                return; // found by `awaitDecided`, or a timeout that is judged later
            }
            if (Clock::now() > end) {
                fail(question, "the client does not read");
            }
            std::this_thread::yield();
        }
    }

    void expire(std::size_t question) {
        if (model_.verdict(question)) {
            return;
        }
        const bool gaveUp =
            waitFor(host_.connection(question), POLLRDHUP, history_.patience + hang);
        const auto waited = Clock::now() - touched_[question];
        if (!gaveUp) {
            fail(question, "the client waits for a silent host forever");
        }
        if (!model_.hasComeTooLate(question) && waited < history_.patience - tick) {
            fail(question,
                 "the client gives up after " + std::to_string(waited / milliseconds{1}) + " ms");
        }
        ++totals_.expired;
    }

    /// Waits for a call to end, and compares its result with the model's.
    Outcome await(std::size_t question) {
        const auto end = Clock::now() + hang;
        for (;;) {
            if (auto outcome = client_.outcome(question)) {
                return *std::move(outcome);
            }
            if (host_.hasStranger()) {
                fail(question, "asks a host that it should not reach");
            }
            if (Clock::now() > end) {
                fail(question, "the call does not end");
            }
            waitFor(client_.signal(), POLLIN, milliseconds{100});
        }
    }

    void awaitDecided() {
        for (auto at = open_.begin(); at != open_.end();) {
            if (const auto verdict = model_.verdict(*at)) {
                check(*at, *verdict, await(*at));
                at = open_.erase(at);
            } else {
                ++at;
            }
        }
    }

    void check(std::size_t question, Verdict verdict, const Outcome& outcome) {
        const bool allowed = !outcome.isError;
        if (!allowed && outcome.text != denialText(call(question))) {
            fail(question, "the caller is told " + outcome.text.substr(0, 500));
        }
        if (allowed && verdict == Verdict::no) {
            fail(question, "was taken as allowed, but is not");
        }
        if (!allowed && verdict == Verdict::yes) {
            fail(question, "was allowed, but not taken so");
        }
        totals_.open += verdict == Verdict::either ? 1U : 0U;
        totals_.yeses += allowed ? 1U : 0U;
        if (allowed) {
            changes_.push_back(call(question).change);
        }
    }

    /// Each question has closed its connection, and none has opened a second one.
    void checkConnections() {
        for (std::size_t question = 0; question < history_.questions.size(); ++question) {
            const int connection = host_.connection(question);
            if (connection >= 0 && !waitFor(connection, POLLRDHUP, hang)) {
                fail(question, "its connection stays open");
            }
        }
        if (host_.hasStranger()) {
            throw Violation{"somebody else has connected"};
        }
    }

    void checkChanges() {
        auto made = client_.changes();
        std::ranges::sort(made);
        std::ranges::sort(changes_);
        totals_.changes += made.size();
        if (made == changes_) {
            return;
        }
        std::string text = "changes made:";
        for (const std::string& change : made) {
            text += "\n  " + change.substr(0, 500);
        }
        text += "\nchanges allowed:";
        for (const std::string& change : changes_) {
            text += "\n  " + change.substr(0, 500);
        }
        throw Violation{text};
    }

    const History& history_;
    Client& client_;
    Host& host_;
    Totals& totals_;
    Model model_{history_.questions};
    std::set<std::size_t> open_;                       ///< asked, and not ended yet
    std::map<std::size_t, std::string> heard_;         ///< what the host has read
    std::map<std::size_t, Clock::time_point> touched_; ///< when the client's time began anew
    std::vector<std::string> changes_;                 ///< those that were allowed
};

} // namespace

void Player::play(const History& history) {
    Play{history, client_, host_, totals_}.run();
    host_.forget();
    checkDescriptors();
    ++totals_.histories;
}

void Player::checkDescriptors() {
    if (!descriptors_) {
        descriptors_ = client_.descriptors();
    }
    if (!support::eventually([&] { return client_.descriptors() <= *descriptors_; },
                             milliseconds{5000})) {
        throw Violation{"a descriptor stays open"};
    }
}

} // namespace velmiro::theorem
