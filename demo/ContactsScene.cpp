#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

void contactsScene(Stage& stage) {
    stage.transcript().heading("Contacts: neither case nor accents matter, nor the order of names");
    for (const char* query : {"zoe", "berg anna", "trattoria"}) {
        const JSONValue payload =
            stage.call("contacts_search", JSONValue::object({{"query", query}})).payload();
        const JSONValue& contacts = member(payload, "contacts");
        stage.transcript().say(Speaker::server, people(contacts));
        require(elements(contacts).size() == 1, "one contact should have been found");
    }
}

} // namespace velmiro::demo
