#include "doctor/Examinations.hpp"

#include "doctor/Collections.hpp"
#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/platform/local/LocalStores.hpp"
#include "velmiro_mcp/platform/local/contacts/VCards.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

namespace velmiro::doctor {
namespace {

bool isCardFile(std::string_view name) {
    return name.ends_with(".vcf");
}

bool isMisnamedCardFile(std::string_view name) {
    return name.ends_with(".VCF") || name.ends_with(".Vcf");
}

class CardReader final : public ItemReader {
public:
    std::string read(const local::OpenFolder& folder, const std::string& name) override {
        auto file = readItem(folder, name);
        if (!file) {
            return whyUnreadable(folder.path() + "/" + name);
        }
        // Cards of groups, and such as name nobody, are passed over; whole cards they are.
        const bool hasCard = file->find("END:VCARD") != std::string::npos;
        const auto contents = local::readContactFile(std::move(*file), name);
        people_ += contents.contacts.size();
        return contents.contacts.empty() && !hasCard ? "no card in it can be read" : std::string{};
    }

    Count take() override {
        Count count{people_, counted(people_, "person", "people")};
        people_ = 0;
        return count;
    }

private:
    std::size_t people_ = 0;
};

} // namespace

Section examineContacts(const Bounds& bounds) {
    Section section{"contacts"};
    const Layout layout{.root = "Contacts",
                        .collection = "address book",
                        .files = ".vcf files",
                        .ending = ".vcf",
                        .isItem = isCardFile,
                        .isMisnamed = isMisnamedCardFile,
                        .readsRoot = true,
                        .oneFailsAll = true,
                        .ifMissing = "nobody is found",
                        .usual = {".contacts", "contacts", ".local/share/contacts",
                                  ".local/share/khard", ".local/share/vdirsyncer/contacts"}};
    const std::string path = local::dataFolder(layout.root);
    if (placeOf(path).isFolder() &&
        local::cardFoldersStatus() == ContactsAuthorizationStatus::denied) {
        section.problem("Contacts cannot be read: access is denied", rightsCommand(path, "u+rx"));
        return section;
    }
    CardReader reader;
    CollectionsExamination{section, layout, reader, bounds}.run();
    return section;
}

} // namespace velmiro::doctor
