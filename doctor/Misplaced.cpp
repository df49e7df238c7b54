#include "doctor/Collections.hpp"

#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"

#include <algorithm>
#include <iterator>

// What people do wrong with collections that exist: links that landed one folder too deep or under
// a hidden name, wrong endings, and folders that are linked twice.

namespace velmiro::doctor {
namespace {

/// Returns a name that is not hidden.
std::string withoutDots(const std::string& name) {
    const auto first = name.find_first_not_of('.');
    return first == std::string::npos ? "unnamed" : name.substr(first);
}

} // namespace

/// Returns the folders in the root if none of them holds anything, besides this link.
std::optional<std::vector<std::string>>
CollectionsExamination::foldersIfAllEmpty(const std::string& link) {
    const auto isAny = [](std::string_view) { return true; };
    std::vector<std::string> folders;
    for (const Found& found : found_) {
        const std::string& folder = found.collection.folder;
        if (folder == link) {
            continue;
        }
        const Listing listing = listingIfReadable(found.collection.path, isAny, budget_);
        const bool holdsLink =
            listing.itemCount + listing.hidden.size() == 1 && link.starts_with(folder + "/");
        const bool isEmpty = listing.itemCount + listing.hidden.size() == 0;
        if (!found.place.isFolder() || found.place.isLink || (!isEmpty && !holdsLink)) {
            return std::nullopt;
        }
        folders.push_back(folder);
    }
    return folders;
}

/// Tells of a root in this root: ln puts a link into a folder that exists already. `inner` is
/// relative to the root.
void CollectionsExamination::tellRootInRoot(const std::string& inner, const Place& place) {
    const std::string text = withTarget(named(inner), place) + " holds " + layout_.collection +
                             "s, not " + layout_.files + ": they are not read";
    if (!place.isLink) {
        section_.problem(text, "mv -n " + shellWord(path_ + "/" + inner) + "/*/ " +
                                   shellWord(path_ + "/"));
        return;
    }
    const auto folders = place_.isLink ? std::nullopt : foldersIfAllEmpty(inner);
    section_.problem(text, folders ? replaceRootCommand(path_, inner, *folders, place.target)
                                   : spreadCommand(path_, inner, place.target));
}

/// Tells of folders with items in a collection, visible or hidden.
void CollectionsExamination::tellNested(const Found& found, const Listing& listing) {
    const std::string& path = found.collection.path;
    std::vector<std::string> links;
    for (const auto& names : {listing.others, listing.hidden}) {
        std::ranges::copy_if(names, std::back_inserter(links), [&](const std::string& name) {
            return budget_.isTimeLeft() && placeOf(path + "/" + name).isLink;
        });
    }
    for (const std::string& name : links) {
        const std::string inner = path + "/" + name;
        const Listing inside = listingIfReadable(inner, layout_.isItem, budget_);
        if (inside.itemCount == 0 && !foldersWithItems(inner, inside.others).empty()) {
            tellRootInRoot(found.collection.folder + "/" + name, placeOf(inner));
        }
    }
    std::vector<std::string> names = foldersWithItems(path, listing.others);
    for (const std::string& hidden : foldersWithItems(path, listing.hidden)) {
        if (placeOf(path + "/" + hidden).isLink) { // others are programs' own
            names.push_back(hidden);
        }
    }
    std::size_t told = 0;
    for (const std::string& name : names) {
        const std::string inner = path + "/" + name;
        const Place place = placeOf(inner);
        const std::string shownName = visible(found.collection.folder + "/" + name);
        const auto isSame = [&](const Found& other) {
            return other.place.identity == place.identity;
        };
        if (std::ranges::any_of(found_, isSame)) {
            if (!place.isLink) {
                continue; // it is linked where it is read
            }
            section_.hint(shownName + " is a link to a " + layout_.collection +
                              " that is there already",
                          unlinkCommand(inner));
        } else if (++told <= budget_.bounds().shown) {
            section_.problem(
                withTarget(shownName, place) + " is a " + layout_.collection + " inside a " +
                    layout_.collection + ": it is not read",
                moveCommand(inner, place.isLink, place.target, freePath(path_, withoutDots(name))));
        }
    }
    if (told > budget_.bounds().shown) {
        const std::size_t rest = told - budget_.bounds().shown;
        section_.problem("and " + counted(rest, "more folder") + " in " +
                             named(found.collection.folder) + (rest == 1 ? " is" : " are") +
                             " not read",
                         "ls -d " + shellWord(path) + "/*/");
    }
}

/// Tells of hidden links in the root, where `ln` puts a link to ~/.calendars if the root exists.
void CollectionsExamination::tellHidden(const Listing& root) {
    for (const std::string& name : root.hidden) {
        const std::string inner = path_ + "/" + name;
        const Place place = placeOf(inner);
        if (!place.isFolder() || !budget_.isTimeLeft()) {
            continue;
        }
        const Listing listing = listingIfReadable(inner, layout_.isItem, budget_);
        if (listing.itemCount > 0) {
            section_.problem(
                withTarget(visible(layout_.root + "/" + name), place) +
                    " is not read: its name begins with a dot",
                moveCommand(inner, place.isLink, place.target, freePath(path_, withoutDots(name))));
        } else if (place.isLink && !foldersWithItems(inner, listing.others).empty()) {
            tellRootInRoot(name, place);
        }
    }
}

void CollectionsExamination::tellMisnamed(const std::string& path, const std::string& shownPath,
                                          const Listing& listing) {
    std::map<std::string, std::size_t> endings;
    for (const std::string& name : listing.others) {
        if (layout_.isMisnamed != nullptr && layout_.isMisnamed(name)) {
            ++endings[name.substr(name.find_last_of('.'))];
        }
    }
    for (const auto& [ending, count] : endings) {
        std::string right = ending;
        std::ranges::transform(right, right.begin(), [](char letter) {
            return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
        });
        section_.problem(counted(count, "file") + " in " + visible(shownPath) +
                             (count == 1 ? " ends" : " end") + " in " + ending + ": only " + right +
                             " is read",
                         renameCommand(path, ending, right));
    }
}

/// Tells of folders that are there under two names.
void CollectionsExamination::tellCopies() {
    if (!layout_.listsCopies) {
        return;
    }
    std::map<std::pair<dev_t, ino_t>, const Found*> seen;
    for (const Found& found : found_) {
        if (!found.place.isFolder()) {
            continue;
        }
        const auto [first, isNew] = seen.emplace(found.place.identity, &found);
        if (isNew || counts_[found.collection.folder] == 0) {
            continue;
        }
        const Found& link = found.place.isLink ? found : *first->second;
        section_.problem(named(first->second->collection.folder) + " and " +
                             named(found.collection.folder) +
                             " are the same folder: everything in it is listed twice",
                         unlinkCommand(link.collection.path));
    }
}

} // namespace velmiro::doctor
