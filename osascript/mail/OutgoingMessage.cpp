#include "osascript/mail/OutgoingMessage.hpp"

#include "osascript/drafts/DraftSaving.hpp"
#include "osascript/mail/Recipient.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <vector>

namespace velmiro::osascript {
namespace {

std::vector<Mailbox> mailboxesFrom(const Objects& recipients) {
    std::vector<Mailbox> mailboxes;
    mailboxes.reserve(recipients.size());
    for (const ObjectPointer& recipient : recipients) {
        mailboxes.push_back(static_cast<const Recipient&>(*recipient).mailbox);
    }
    return mailboxes;
}

} // namespace

void OutgoingMessage::save() {
    if (isSaved_) {
        throw ScriptError{"This message has already been saved."};
    }
    saveDraft(local::dataFolder("Mail"), {subject, content, mailboxesFrom(to), mailboxesFrom(cc)});
    isSaved_ = true;
}

} // namespace velmiro::osascript
