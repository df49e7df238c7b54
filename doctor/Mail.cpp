#include "doctor/Examinations.hpp"

#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>

namespace velmiro::doctor {
namespace {

using local::OpenFolder;

bool isAny(std::string_view) {
    return true;
}

bool isMaildir(const std::string& path) {
    return placeOf(path + "/cur").isFolder() || placeOf(path + "/new").isFolder();
}

std::string inSmallLetters(std::string text) {
    std::ranges::transform(text, text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

/// Returns the visible folders in a folder.
std::vector<std::string> foldersIn(const std::string& path, const Budget& budget) {
    std::vector<std::string> folders;
    for (const std::string& name : listingIfReadable(path, isAny, budget).items) {
        if (folders.size() < budget.bounds().others && budget.isTimeLeft() &&
            placeOf(path + "/" + name).isFolder()) {
            folders.push_back(path + "/" + name);
        }
    }
    return folders;
}

/// Returns the Maildir that is probably the inbox, one or two folders below a root of mailboxes:
/// the one called so, else the first. Empty if there is none.
std::string inboxBelow(const std::string& root, const Budget& budget) {
    std::vector<std::string> maildirs;
    for (const std::string& folder : foldersIn(root, budget)) {
        if (isMaildir(folder)) {
            maildirs.push_back(folder);
        } else {
            for (const std::string& inner : foldersIn(folder, budget)) {
                if (isMaildir(inner)) {
                    maildirs.push_back(inner);
                }
            }
        }
    }
    const auto inbox = std::ranges::find_if(maildirs, [](const std::string& path) {
        return inSmallLetters(lastName(path)) == "inbox";
    });
    if (inbox != maildirs.end()) {
        return *inbox;
    }
    return maildirs.empty() ? std::string{} : maildirs.front();
}

/// Messages that are counted as the mail tools see them: one for each unique name, of which the
/// first that is added counts, without those flagged as trashed or as drafts.
class Messages {
public:
    void add(const std::string& name) {
        const auto flagsAt = name.find(":2,");
        const std::string flags = flagsAt == std::string::npos ? "" : name.substr(flagsAt + 3);
        const bool isNew = seen_.insert(std::hash<std::string>{}(name.substr(0, flagsAt))).second;
        if (isNew && flags.find_first_of("TD") == std::string::npos) {
            ++listed_;
            unread_ += flags.find('S') == std::string::npos ? 1U : 0U;
        }
    }

    [[nodiscard]] std::size_t listed() const noexcept { return listed_; }
    [[nodiscard]] std::string text() const {
        return counted(listed_, "message") + ", " + grouped(unread_) + " unread";
    }

private:
    std::unordered_set<std::size_t> seen_;
    std::size_t listed_ = 0;
    std::size_t unread_ = 0;
};

class MailExamination {
public:
    MailExamination(Section& section, const Bounds& bounds) : section_{section}, budget_{bounds} {}

    void run() {
        switch (place_.what) {
        case Place::What::missing:
            if (const std::string link = danglingAbove(path_); !link.empty()) {
                section_.problem("Mail cannot be reached: " + visible(link) + " leads nowhere",
                                 unlinkCommand(link));
                return;
            }
            section_.fact("Mail does not exist: the inbox is empty");
            suggest();
            return;
        case Place::What::dangling:
            section_.problem("Mail is a link to " + visible(place_.target) +
                                 ", which leads nowhere",
                             unlinkCommand(path_));
            suggest();
            return;
        case Place::What::unreachable:
            section_.problem("Mail cannot be reached: " + reasonOf(place_.error),
                             rightsCommand(lockedAbove(path_), "u+rwx"));
            return;
        case Place::What::file:
        case Place::What::other:
            section_.problem("Mail is not a folder; one file with many messages is not read",
                             "mv -n " + shellWord(path_) + " " +
                                 shellWord(freePath(local::parentOf(path_), "Mail-old")));
            return;
        case Place::What::folder:
            break;
        }
        section_.exists();
        section_.fact(withTarget("Mail", place_));
        if (isMaildir(path_)) {
            tellMessages();
        } else {
            tellNoMaildir();
        }
    }

private:
    void tellMessages() {
        Messages messages;
        Section files{{}};
        std::size_t unreadable = 0;
        std::size_t all = 0;
        std::size_t read = 0;
        bool isCut = false;
        for (const std::string place : {"cur", "new"}) { // of a message in both, that in cur counts
            const std::string path = path_ + "/" + place;
            try {
                const auto folder = local::openFolderIfThere(path);
                if (!folder) {
                    continue;
                }
                const Listing listing = listingOf(*folder, isAny, budget_);
                all += listing.itemCount;
                isCut = isCut || listing.isCut;
                for (const std::string& name : listing.items) {
                    if (!budget_.takeFile()) {
                        break;
                    }
                    ++read;
                    messages.add(name);
                    tellIfUnreadable(*folder, place, name, files, unreadable);
                }
            } catch (const std::system_error& error) {
                files.problem("Mail/" + place + " cannot be read: " + reasonOf(error.code()),
                              rightsCommand(path, "u+rwx"));
            }
        }
        std::string text = "the inbox: " + messages.text();
        if (read < all || isCut) {
            text += ", in the first " + grouped(read) + " of " + (isCut ? "more than " : "") +
                    counted(all, "file");
        }
        section_.fact(text);
        section_.addItems(messages.listed());
        if (unreadable > budget_.bounds().shown) {
            files.problem("and " + counted(unreadable - budget_.bounds().shown, "more message") +
                              " cannot be read",
                          "ls -l " + shellWord(path_ + "/cur/") + " " + shellWord(path_ + "/new/"));
        }
        section_.append(files);
    }

    void tellIfUnreadable(const OpenFolder& folder, const std::string& place,
                          const std::string& name, Section& files, std::size_t& unreadable) const {
        const std::string path = folder.path() + "/" + name;
        const bool isFile = placeOf(path).what == Place::What::file;
        if (isFile && local::openForReading(folder.descriptor(), name)) {
            return;
        }
        const std::string why = whyUnreadable(path);
        if (!why.empty() && ++unreadable <= budget_.bounds().shown) {
            files.problem(visible(place + "/" + name) + " cannot be read: " + why,
                          fileCommand(path));
        }
    }

    /// Tells of a folder without `cur` and `new`: probably the root that mbsync keeps, with one
    /// Maildir for each mailbox.
    void tellNoMaildir() {
        const std::string inbox = inboxBelow(place_.isLink ? place_.target : path_, budget_);
        if (inbox.empty()) {
            section_.problem("Mail is not a Maildir: it has no folders cur and new",
                             place_.isLink
                                 ? unlinkCommand(path_)
                                 : "mkdir " + shellWord(path_ + "/cur") + " " +
                                       shellWord(path_ + "/new") + " " + shellWord(path_ + "/tmp"));
            return;
        }
        const std::string text =
            "Mail holds mailboxes and is not the inbox itself: no message is read";
        if (place_.isLink) {
            section_.problem(text, "ln -sfn " + shellWord(inbox) + " " + shellWord(path_));
            return;
        }
        const std::string aside = freePath(local::parentOf(path_), "Mail-all");
        section_.problem(text, "mv -n " + shellWord(path_) + " " + shellWord(aside) + " && ln -s " +
                                   shellWord(aside + inbox.substr(path_.size())) + " " +
                                   shellWord(path_));
    }

    void suggest() {
        const std::string home = local::parentOf(local::parentOf(local::supportFolder()));
        for (const std::string name : {"Maildir", "Mail", "mail", ".mail", ".local/share/mail"}) {
            const std::string folder = home + "/" + name;
            const std::string inbox = isMaildir(folder) ? folder : inboxBelow(folder, budget_);
            if (!inbox.empty()) {
                section_.hint(visible(inbox) + " is a Maildir: link it", linkCommand(inbox, path_));
                return;
            }
        }
    }

    Section& section_;
    Budget budget_;
    std::string path_ = local::dataFolder("Mail");
    Place place_ = placeOf(path_);
};

} // namespace

Section examineMail(const Bounds& bounds) {
    Section section{"mail"};
    try {
        MailExamination{section, bounds}.run();
    } catch (const std::system_error& error) {
        section.problem("Mail cannot be read: " + reasonOf(error.code()),
                        rightsCommand(local::dataFolder("Mail"), "u+rwx"));
    }
    return section;
}

} // namespace velmiro::doctor
