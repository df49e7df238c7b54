#include "osascript/mail/MailApplication.hpp"

#include "osascript/dictionary/Class.hpp"
#include "osascript/mail/Inbox.hpp"
#include "osascript/mail/OutgoingMessage.hpp"
#include "osascript/mail/Recipient.hpp"

#include <cmath>
#include <memory>
#include <string>
#include <utility>

// What scripts see of Mail: a table for each of its classes.

namespace velmiro::osascript {
namespace {

class Mail final : public Object {
public:
    [[nodiscard]] const Class& type() const noexcept override;

    ObjectPointer inbox = std::make_shared<Inbox>();
    Objects outgoing;
};

/// Reads a date that may be missing.
template <auto member>
Value readingDate(Object& self) {
    const auto date = (static_cast<Message&>(self).*member)();
    return date ? Value{*date} : Value{nullptr};
}

/// Reads one of the two parts of a recipient.
template <auto part>
Value readingPart(Object& self) {
    return static_cast<Recipient&>(self).mailbox.*part;
}

/// Assigns a text to one of them.
template <auto part>
void writingPart(Object& self, const Value& value) {
    const auto* const text = std::get_if<std::string>(&value);
    if (text == nullptr) {
        throw wrongType();
    }
    static_cast<Recipient&>(self).mailbox.*part = *text;
}

/// Lists the objects in a member variable.
template <auto member>
Objects listing(Object& self) {
    using Owner = typename OwnerOf<decltype(member)>::type;
    return static_cast<Owner&>(self).*member;
}

/// Adds an object of the class `Element` to a member variable.
template <typename Element, auto member>
void pushing(Object& self, const ObjectPointer& element) {
    using Owner = typename OwnerOf<decltype(member)>::type;
    if (dynamic_cast<const Element*>(element.get()) == nullptr) {
        throw wrongType();
    }
    (static_cast<Owner&>(self).*member).push_back(element);
}

template <typename Made>
ObjectPointer making() {
    return std::make_shared<Made>();
}

/// Returns whether JavaScript counts a value as true.
bool isTrue(const Value& value) {
    if (const auto* const number = std::get_if<double>(&value)) {
        return *number != 0 && !std::isnan(*number);
    }
    if (const auto* const text = std::get_if<std::string>(&value)) {
        return !text->empty();
    }
    const auto* const boolean = std::get_if<bool>(&value);
    return boolean != nullptr ? *boolean : !std::holds_alternative<std::nullptr_t>(value);
}

void writeVisible(Object& self, const Value& value) {
    static_cast<OutgoingMessage&>(self).visible = isTrue(value);
}

const Class& recipientClass() {
    static const Class type{
        .properties = {{.name = "address",
                        .read = &readingPart<&Mailbox::address>,
                        .write = &writingPart<&Mailbox::address>,
                        .isKnown = true},
                       {.name = "name",
                        .read = &readingPart<&Mailbox::name>,
                        .write = &writingPart<&Mailbox::name>,
                        .isKnown = true}},
    };
    return type;
}

const Class& messageClass() {
    static const Class type{
        .properties = {{.name = "id", .read = &reading<&Message::id>, .isKnown = true},
                       {.name = "subject", .read = &reading<&Message::subject>},
                       {.name = "sender", .read = &reading<&Message::sender>},
                       {.name = "dateReceived",
                        .read = &readingDate<&Message::dateReceived>,
                        .decide =
                            [](Object& self, const Condition& condition) {
                                return static_cast<Message&>(self).decideDateReceived(condition);
                            }},
                       {.name = "dateSent", .read = &readingDate<&Message::dateSent>},
                       {.name = "readStatus",
                        .read = &reading<&Message::readStatus>,
                        .isKnown = true},
                       {.name = "messageId", .read = &reading<&Message::messageId>},
                       {.name = "content", .read = &reading<&Message::content>}},
        .elements =
            {{.name = "toRecipients",
              .type = &recipientClass(),
              .all = [](Object& self) { return static_cast<Message&>(self).toRecipients(); }},
             {.name = "ccRecipients",
              .type = &recipientClass(),
              .all = [](Object& self) { return static_cast<Message&>(self).ccRecipients(); }}},
    };
    return type;
}

const Class& inboxClass() {
    static const Class type{
        .properties = {{.name = "name",
                        .read = [](Object&) { return Value{std::string{"INBOX"}}; },
                        .isKnown = true}},
        .elements = {{.name = "messages",
                      .type = &messageClass(),
                      .all = [](Object&) { return Inbox::messages(); },
                      .arrange = &Inbox::arrange,
                      .find = [](Object&, std::string_view property,
                                 const Value& value) { return Inbox::find(property, value); }}},
    };
    return type;
}

const Class& outgoingMessageClass() {
    static const Class type{
        .properties = {{.name = "subject",
                        .read = &reading<&OutgoingMessage::subject>,
                        .write = &writingText<&OutgoingMessage::subject>},
                       {.name = "content",
                        .read = &reading<&OutgoingMessage::content>,
                        .write = &writingText<&OutgoingMessage::content>},
                       {.name = "visible",
                        .read = &reading<&OutgoingMessage::visible>,
                        .write = &writeVisible}},
        .elements = {{.name = "toRecipients",
                      .type = &recipientClass(),
                      .all = &listing<&OutgoingMessage::to>,
                      .push = &pushing<Recipient, &OutgoingMessage::to>},
                     {.name = "ccRecipients",
                      .type = &recipientClass(),
                      .all = &listing<&OutgoingMessage::cc>,
                      .push = &pushing<Recipient, &OutgoingMessage::cc>}},
        .commands = {{.name = "save",
                      .run = [](Object& self) { static_cast<OutgoingMessage&>(self).save(); }}},
    };
    return type;
}

const Class& mailClass() {
    static const Class type{
        .properties = {{.name = "name",
                        .read = [](Object&) { return Value{std::string{"Mail"}}; },
                        .isKnown = true},
                       {.name = "inbox", .read = &reading<&Mail::inbox>, .isKnown = true}},
        .elements = {{.name = "outgoingMessages",
                      .type = &outgoingMessageClass(),
                      .all = &listing<&Mail::outgoing>,
                      .push = &pushing<OutgoingMessage, &Mail::outgoing>}},
        .constructors = {{.name = "OutgoingMessage", .make = &making<OutgoingMessage>},
                         {.name = "ToRecipient", .make = &making<Recipient>},
                         {.name = "CcRecipient", .make = &making<Recipient>}},
    };
    return type;
}

const Class& Mail::type() const noexcept {
    return mailClass();
}

} // namespace

const Class& Recipient::type() const noexcept {
    return recipientClass();
}

const Class& Message::type() const noexcept {
    return messageClass();
}

const Class& Inbox::type() const noexcept {
    return inboxClass();
}

const Class& OutgoingMessage::type() const noexcept {
    return outgoingMessageClass();
}

ObjectPointer mailApplication() {
    return std::make_shared<Mail>();
}

} // namespace velmiro::osascript
