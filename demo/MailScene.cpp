#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

#include <algorithm>

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

JSONValue list(Stage& stage, std::initializer_list<JSONValue::NewMember> arguments) {
    const JSONValue payload = stage.call("mail_list", JSONValue::object(arguments)).payload();
    const JSONValue& messages = member(payload, "messages");
    stage.transcript().say(Speaker::server, inbox(messages));
    return messages;
}

} // namespace

void mailScene(Stage& stage) {
    stage.transcript().heading("Mail: what came in the last days, from anywhere in the world?");
    const JSONValue all = list(stage, {{"days", 7}});
    require(elements(all).size() == 6, "six messages should have been listed");
    const JSONValue unread = list(stage, {{"days", 7}, {"unread_only", true}});
    require(elements(unread).size() == 1, "one message should be unread");

    stage.transcript().heading("The agent reads the unread one: HTML only, but a text to read");
    const auto before = stage.home().files();
    const JSONValue message =
        stage.call("mail_read", JSONValue::object({{"id", member(elements(unread).front(), "id")}}))
            .payload();
    stage.transcript().say(Speaker::server, text(member(message, "content")));
    require(before == stage.home().files(), "reading should change nothing, not even a flag");

    stage.transcript().heading("The agent drafts a reply; the user says yes. It is never sent");
    const auto saved = stage.callWithQuestion(
        "mail_create_draft",
        JSONValue::object({{"to", JSONValue::array("orders@books.example.com")},
                           {"subject", "Re: Your order is ready"},
                           {"body", "Thank you!\n\nI will come on Saturday 📚"}}),
        "Re: Your order is ready → orders@books.example.com", true);
    require(saved.has_value(), "the answer was yes");
    for (const auto& [name, content] : changedFiles(before, stage.home().files())) {
        if (name.find("/cur/") != std::string::npos) {
            stage.transcript().note("One file is new, " + name + ":");
            stage.transcript().note(indented(content));
        }
    }

    stage.transcript().heading("An address that is none");
    stage.fail("mail_create_draft",
               JSONValue::object({{"to", "Corner Books"}, {"subject", "x"}, {"body", "y"}}),
               "‘to’ must be email addresses");
}

} // namespace velmiro::demo
