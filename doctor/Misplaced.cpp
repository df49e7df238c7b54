#include "doctor/Collections.hpp"

#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"

#include <algorithm>
#include <iterator>

// What people do wrong with collections that exist: links that landed one folder too deep or under
// a hidden name, wrong endings, and folders that are linked twice.

namespace velmiro::doctor {

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

/// Returns whether a folder is also a collection that is read.
bool CollectionsExamination::isReadToo(const Place& place) const {
    return std::ranges::any_of(
        found_, [&](const Found& found) { return found.place.identity == place.identity; });
}

/// Tells of a root in this root: ln puts a link into a folder that exists already. `inner` is
/// relative to the root. Returns whether there is something to tell: folders with items, which are
/// not all linked where they are read.
bool CollectionsExamination::tellRootInRoot(const std::string& inner, const Place& place,
                                            bool isDefault) {
    const std::string path = path_ + "/" + inner;
    const Listing listing = listingIfReadable(path, layout_.isItem, budget_);
    const auto folders = foldersWithItems(path, listing.others);
    const bool isUnread = std::ranges::any_of(folders, [&](const std::string& folder) {
        return !isReadToo(placeOf(path + "/" + folder));
    });
    if (!isUnread) {
        return false;
    }
    std::string mend;
    if (const auto empty = foldersIfAllEmpty(inner); empty && place.isLink && !place_.isLink) {
        mend = replaceRootCommand(path_, inner, *empty, place.target);
    } else if (place.isLink) {
        mend = spreadCommand(path_, inner, place.target);
    } else if (!place_.isLink) {
        mend = "mv -n " + shellWord(path) + "/*/ " + shellWord(path_ + "/");
    } else if (found_.size() == 1) { // other programs' folders stay where they are
        mend = linkCommand(place_.target + "/" + inner, path_);
    } else {
        mend = "ln -s " + shellWord(place_.target + "/" + inner) + "/*/ " + shellWord(path_ + "/");
    }
    const std::string name = named(inner) + (isDefault ? " (default)" : "");
    section_.problem(withTarget(name, place) + " holds " + layout_.collection + "s, not " +
                         layout_.files + ": they are not read",
                     mend);
    return true;
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
        if (!holdsItem(inner, layout_.isItem, budget_)) {
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
        if (isReadToo(place)) {
            if (place.isLink) {
                section_.hint(shownName + " is a link to a " + layout_.collection +
                                  " that is there already",
                              unlinkCommand(inner));
            }
        } else if (++told <= budget_.bounds().shown) {
            // Other programs' folders stay where they are, and are linked.
            const std::string newPath = freePath(path_, withoutDots(name));
            const bool isOurs = !place.isLink && !found.place.isLink && !place_.isLink;
            section_.problem(withTarget(shownName, place) + " is a " + layout_.collection +
                                 " inside a " + layout_.collection + ": it is not read",
                             isOurs || place.isLink
                                 ? moveCommand(inner, place.isLink, place.target, newPath)
                                 : linkCommand(realPathOf(inner), newPath));
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
        if (!place.isFolder() || !place.isLink || !budget_.isTimeLeft()) {
            continue; // folders of that name are programs' own: .trash
        }
        if (holdsItem(inner, layout_.isItem, budget_)) {
            section_.problem(
                withTarget(visible(layout_.root + "/" + name), place) +
                    " is not read: its name begins with a dot",
                moveCommand(inner, place.isLink, place.target, freePath(path_, withoutDots(name))));
        } else {
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
        section_.problem(counted(count, "file") + " in " + visible(shownPath) +
                             (count == 1 ? " ends" : " end") + " in " + ending + ": only " +
                             layout_.ending + " is read",
                         renameCommand(path, ending, layout_.ending));
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
