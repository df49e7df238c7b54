#include "doctor/Collections.hpp"

#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <exception>
#include <optional>
#include <system_error>

namespace velmiro::doctor {
namespace {

using local::Collection;
using local::OpenFolder;

/// Returns the home that holds the data folder.
std::string home() {
    const std::string support = local::supportFolder();
    return local::parentOf(local::parentOf(support));
}

} // namespace

CollectionsExamination::CollectionsExamination(Section& section, const Layout& layout,
                                               ItemReader& reader, const Bounds& bounds)
    : section_{section},
      layout_{layout},
      reader_{reader},
      budget_{bounds},
      path_{local::dataFolder(layout.root)},
      place_{placeOf(path_)} {}

void CollectionsExamination::run(const Told& told) {
    try {
        if (openRoot()) {
            examineRoot(told);
        }
    } catch (const std::system_error& error) {
        section_.problem(layout_.root + " cannot be read: " + reasonOf(error.code()),
                         rightsCommand(path_, "u+rwx"));
    } catch (const std::exception& error) { // a library is missing
        section_.problem(layout_.root + " cannot be read: " + visible(error.what()),
                         "ls -l " + shellWord(path_));
    }
}

/// Tells what the root is. Returns whether it is a folder.
bool CollectionsExamination::openRoot() {
    switch (place_.what) {
    case Place::What::missing:
        if (const std::string link = danglingAbove(path_); !link.empty()) {
            section_.problem(layout_.root + " cannot be reached: " + visible(link) +
                                 " leads nowhere",
                             unlinkCommand(link));
            return false;
        }
        section_.fact(layout_.root + " does not exist: " + layout_.ifMissing);
        suggest();
        return false;
    case Place::What::dangling:
        section_.problem(layout_.root + " is a link to " + visible(place_.target) +
                             ", which leads nowhere",
                         unlinkCommand(path_));
        suggest();
        return false;
    case Place::What::unreachable:
        section_.problem(layout_.root + " cannot be reached: " + reasonOf(place_.error),
                         rightsCommand(lockedAbove(path_), "u+rwx"));
        return false;
    case Place::What::file:
    case Place::What::other:
        section_.problem(layout_.root + " is not a folder",
                         "mv -n " + shellWord(path_) + " " +
                             shellWord(freePath(local::parentOf(path_), layout_.root + "-old")));
        return false;
    case Place::What::folder:
        break;
    }
    section_.exists();
    section_.fact(withTarget(layout_.root, place_));
    return true;
}

void CollectionsExamination::examineRoot(const Told& told) {
    const OpenFolder root{path_};
    const Listing listing = listingOf(root, layout_.isItem, budget_);
    tellItemsInRoot(listing);
    found_ = collectionsIn(listing);
    const std::string theDefault = defaultAmong(found_);
    for (const Found& found : found_) {
        tellCollection(found, found.collection.folder == theDefault, told);
    }
    tellCopies();
    tellHidden(listing);
    tellMisnamed(path_, layout_.root, listing);
    if (listing.isCut || listing.others.size() == budget_.bounds().others) {
        section_.hint(layout_.root + " has more entries than were looked at");
    }
    if (found_.empty() && layout_.allMustExist && section_.problems() == 0) {
        section_.problem(layout_.root + " is empty: there is no " + layout_.collection +
                             " to add to",
                         "mkdir " + shellWord(path_ + "/" + layout_.first));
    } else if (!found_.empty() && layout_.hasDefault && theDefault.empty()) {
        section_.problem("no " + layout_.collection + " can be written",
                         rightsCommand(found_.front().collection.path, "u+rwx"));
    }
}

/// Tells of data that other programs keep in their usual places.
void CollectionsExamination::suggest() {
    for (const std::string& name : layout_.usual) {
        const std::string folder = home() + "/" + name;
        const Listing listing = listingIfReadable(folder, layout_.isItem, budget_);
        const auto collections = foldersWithItems(folder, listing.others);
        const std::string holder = collections.empty() ? folder : folder + "/" + collections[0];
        constexpr std::size_t enough = 20;
        Listing some = listingIfReadable(holder, layout_.isItem, budget_);
        some.items.resize(std::min(some.items.size(), enough));
        for (const std::string& item : some.items) {
            reader_.read(OpenFolder{holder}, item);
        }
        if (reader_.take().items == 0) {
            continue;
        }
        const bool isFlat = listing.itemCount > 0 && !layout_.readsRoot;
        section_.hint("~/" + visible(name) + " holds " + layout_.files + ": link it",
                      isFlat ? wrapCommand(path_, false, folder, !collections.empty())
                             : linkCommand(folder, path_));
        return;
    }
}

void CollectionsExamination::tellItemsInRoot(const Listing& root) {
    if (root.itemCount == 0) {
        return;
    }
    if (layout_.readsRoot) {
        std::string sample;
        Section files{{}};
        const Count count = readItems(OpenFolder{path_}, root, {}, files, sample);
        section_.addItems(count.items);
        section_.fact("directly in " + layout_.root + ": " + count.text + sample);
        section_.append(files);
        return;
    }
    // A folder may be named like a file.
    std::size_t folders = 0;
    constexpr std::size_t enough = 1'000;
    for (std::size_t at = 0; at < std::min(root.items.size(), enough); ++at) {
        folders += placeOf(path_ + "/" + root.items[at]).isFolder() ? 1U : 0U;
    }
    if (folders == root.itemCount) {
        return;
    }
    const std::size_t files = root.itemCount - folders;
    const std::string text =
        place_.isLink
            ? layout_.root + " is one " + layout_.collection +
                  ", not a folder of them: " + counted(files, "file is", "files are") + " not read"
            : counted(files, "file", "files") + " directly in " + layout_.root +
                  (files == 1 ? " is" : " are") + " not read: each belongs into a " +
                  layout_.collection;
    const bool hasFolders = !foldersWithItems(path_, root.others).empty();
    section_.problem(text, place_.isLink ? wrapCommand(path_, true, place_.target, hasFolders)
                                         : gatherCommand(path_, layout_.first, root.items, files));
}

std::vector<CollectionsExamination::Found>
CollectionsExamination::collectionsIn(const Listing& root) const {
    std::vector<std::string> names = root.others;
    const auto most = std::min(root.items.size(), budget_.bounds().others);
    names.insert(names.end(), root.items.begin(),
                 root.items.begin() + static_cast<std::ptrdiff_t>(most));
    std::ranges::sort(names);
    std::vector<Found> all;
    for (const std::string& name : names) {
        const std::string path = path_ + "/" + name;
        const Place place = placeOf(path);
        const bool isCollection = place.isFolder() || place.what == Place::What::unreachable ||
                                  (place.what == Place::What::dangling && !layout_.isItem(name));
        if (!isCollection || !budget_.isTimeLeft()) {
            continue;
        }
        const auto title = layout_.titleOf ? layout_.titleOf(name) : std::optional{name};
        if (title) {
            all.push_back({{name, path, *title}, place});
        }
    }
    return all;
}

std::string CollectionsExamination::defaultAmong(const std::vector<Found>& all) const {
    if (!layout_.hasDefault) {
        return {};
    }
    const auto isUsual = [&](const Found& found) {
        return found.place.isFolder() && found.collection.folder == layout_.usualDefault;
    };
    const auto isWritable = [&](const Found& found) {
        return found.place.isFolder() && local::isWritableFolder(found.collection.path);
    };
    auto one = std::ranges::find_if(all, isUsual);
    if (one == all.end()) {
        one = std::ranges::find_if(all, isWritable);
    }
    return one == all.end() ? std::string{} : one->collection.folder;
}

void CollectionsExamination::tellCollection(const Found& found, bool isDefault, const Told& told) {
    const Collection& collection = found.collection;
    if (found.place.what == Place::What::dangling) {
        tellCannotOpen(found, "a link to " + visible(found.place.target) + ", which leads nowhere",
                       unlinkCommand(collection.path));
        return;
    }
    std::optional<OpenFolder> folder;
    Listing listing;
    try {
        folder = local::openFolderIfThere(collection.path);
        if (!folder) {
            return; // removed in the meantime
        }
        listing = listingOf(*folder, layout_.isItem, budget_);
    } catch (const std::system_error& error) {
        tellCannotOpen(found, reasonOf(error.code()), rightsCommand(collection.path, "u+rwx"));
        return;
    }
    if (listing.itemCount == 0 && tellRootInRoot(collection.folder, found.place, isDefault)) {
        return;
    }
    tellContents(found, *folder, listing, isDefault, told);
    tellMisnamed(collection.path, layout_.root + "/" + collection.folder, listing);
    tellNested(found, listing);
}

void CollectionsExamination::tellCannotOpen(const Found& found, const std::string& reason,
                                            const std::string& mend) {
    const std::string_view effect =
        layout_.oneFailsAll ? " makes every answer an error: " : " cannot be read: ";
    section_.problem(named(found.collection.folder).append(effect) + reason, mend);
}

void CollectionsExamination::tellContents(const Found& found, const OpenFolder& folder,
                                          const Listing& listing, bool isDefault,
                                          const Told& told) {
    const Collection& collection = found.collection;
    Section files{{}}; // to be told after the collection
    std::string sample;
    const Count count = readItems(folder, listing, collection.folder + "/", files, sample);
    std::string text = named(collection.title) + (isDefault ? " (default): " : ": ") + count.text;
    if (collection.title != collection.folder) {
        text += ", in the folder " + visible(collection.folder);
    }
    section_.fact(withTarget(text, found.place) + sample);
    section_.append(files);
    section_.addItems(count.items);
    counts_[collection.folder] = count.items;
    if (told) {
        told(collection, found.place, count);
    }
}

/// Reads what the bounds allow, and tells `files` which cannot be read. `sample` receives a remark
/// if not all were read.
Count CollectionsExamination::readItems(const OpenFolder& folder, const Listing& listing,
                                        const std::string& prefix, Section& files,
                                        std::string& sample) {
    std::size_t read = 0;
    std::size_t unreadable = 0;
    for (const std::string& name : listing.items) {
        if (!budget_.takeFile()) {
            break;
        }
        ++read;
        const std::string why = reader_.read(folder, name);
        if (!why.empty() && ++unreadable <= budget_.bounds().shown) {
            files.problem(visible(prefix + name) + " cannot be read: " + why,
                          fileCommand(folder.path() + "/" + name));
        }
    }
    if (unreadable > budget_.bounds().shown) {
        files.problem("and " + counted(unreadable - budget_.bounds().shown, "more file") + " in " +
                          visible(prefix.empty() ? layout_.root : prefix) + " cannot be read",
                      "ls -l " + shellWord(folder.path() + "/"));
    }
    if (read < listing.itemCount || listing.isCut) {
        sample = ", in the first " + grouped(read) + " of " + (listing.isCut ? "more than " : "") +
                 counted(listing.itemCount, "file");
    }
    return reader_.take();
}

/// Returns which of the names are folders with items directly in them.
std::vector<std::string>
CollectionsExamination::foldersWithItems(const std::string& path,
                                         const std::vector<std::string>& names) {
    std::vector<std::string> found;
    for (const std::string& name : names) {
        const std::string inner = path + "/" + name;
        if (budget_.isTimeLeft() && placeOf(inner).isFolder() &&
            holdsItem(inner, layout_.isItem, budget_)) {
            found.push_back(name);
        }
    }
    return found;
}

} // namespace velmiro::doctor
