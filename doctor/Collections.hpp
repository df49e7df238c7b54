#pragma once

#include "doctor/Places.hpp"
#include "doctor/Report.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Data in a root folder with one folder per collection, and in that one file per item: calendars,
/// reminder lists, address books, folders of notes.
namespace velmiro::doctor {

/// How one kind of data is stored.
struct Layout {
    std::string root;       ///< the root's name in the data folder: Calendars
    std::string collection; ///< what a folder in it is called: calendar
    std::string files;      ///< what its files are called: .ics files
    std::string ending;     ///< of the names of new files: .ics
    NameTest isItem;
    NameTest isMisnamed; ///< of a name that only has the wrong ending: EVENT.ICS
    /// Returns the title of a collection with this folder; nullopt if the server sees none there.
    std::function<std::optional<std::string>(const std::string& folder)> titleOf{};
    bool readsRoot = false;         ///< files directly in the root are read too
    bool oneFailsAll = false;       ///< if one collection cannot be read, no answer is given
    bool listsCopies = false;       ///< a folder that is linked twice is listed twice
    bool allMustExist = false;      ///< if the root exists, it must hold a collection
    std::string usualDefault{};     ///< the collection for new items if it exists, else the first
    bool hasDefault = false;        ///< there is such a collection
    std::string first{};            ///< the collection that the first new item creates
    std::string ifMissing;          ///< what a missing root means
    std::vector<std::string> usual; ///< where other programs keep such data, below the home
};

/// What the files of one collection hold.
struct Count {
    std::size_t items = 0;
    std::string text; ///< 3 events
};

/// Reads the files of one kind, as the server does.
class ItemReader {
public:
    ItemReader() = default;
    ItemReader(const ItemReader&) = delete;
    ItemReader& operator=(const ItemReader&) = delete;
    virtual ~ItemReader() = default;

    /// Reads one file and counts what it holds. Returns why it cannot be read; empty if it can, or
    /// is gone. Throws std::system_error if the machine fails.
    virtual std::string read(const local::OpenFolder& folder, const std::string& name) = 0;

    /// Returns what was counted since the last call.
    virtual Count take() = 0;
};

/// Tells what a root holds, and recognises what people do wrong: one collection in place of the
/// root, a root in place of a collection, links that landed one folder too deep, links that lead
/// nowhere.
class CollectionsExamination {
public:
    /// Called for each collection that was read, after it was told.
    using Told = std::function<void(const local::Collection&, const Place&, const Count&)>;

    CollectionsExamination(Section& section, const Layout& layout, ItemReader& reader,
                           const Bounds& bounds);

    void run(const Told& told = {});

private:
    struct Found {
        local::Collection collection;
        Place place;
    };

    bool openRoot();
    void examineRoot(const Told& told);
    void suggest();
    void tellItemsInRoot(const Listing& root);
    void tellCollection(const Found& found, bool isDefault, const Told& told);
    void tellContents(const Found& found, const local::OpenFolder& folder, const Listing& listing,
                      bool isDefault, const Told& told);
    bool tellRootInRoot(const std::string& inner, const Place& place, bool isDefault = false);
    void tellNested(const Found& found, const Listing& listing);
    void tellHidden(const Listing& root);
    void tellMisnamed(const std::string& path, const std::string& shownPath,
                      const Listing& listing);
    void tellCopies();
    void tellCannotOpen(const Found& found, const std::string& reason, const std::string& mend);
    Count readItems(const local::OpenFolder& folder, const Listing& listing,
                    const std::string& prefix, Section& files, std::string& sample);
    [[nodiscard]] std::vector<Found> collectionsIn(const Listing& root) const;
    [[nodiscard]] std::string defaultAmong(const std::vector<Found>& all) const;
    [[nodiscard]] std::vector<std::string> foldersWithItems(const std::string& path,
                                                            const std::vector<std::string>& names);
    [[nodiscard]] bool isReadToo(const Place& place) const;
    [[nodiscard]] std::optional<std::vector<std::string>>
    foldersIfAllEmpty(const std::string& link);

    Section& section_;
    const Layout& layout_;
    ItemReader& reader_;
    Budget budget_;
    std::string path_;
    Place place_;
    std::vector<Found> found_;
    std::map<std::string, std::size_t> counts_; ///< the items of each collection's folder
};

} // namespace velmiro::doctor
