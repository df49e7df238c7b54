#include "tests/osascript/engine/Library.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace velmiro::osascript::library {

namespace {

Book& book(Object& object) {
    return dynamic_cast<Book&>(object);
}

void note(const std::string& what, const Object& object) {
    const auto* const asked = dynamic_cast<const Book*>(&object);
    state().asked.push_back(what + " of " + (asked == nullptr ? "the shelf" : asked->title));
}

Value readTitle(Object& self) {
    note("title", self);
    if (book(self).isGone) {
        throw noObject();
    }
    return book(self).title;
}

Value readPages(Object& self) {
    note("pages", self);
    return book(self).pages;
}

Value readPrinted(Object& self) {
    note("printed", self);
    return book(self).printed;
}

/// No book was printed in the future.
std::optional<bool> decidePrinted(Object& self, const Condition& condition) {
    note("decision on printed", self);
    const auto* const wanted = std::get_if<Date>(&condition.wanted);
    if (wanted != nullptr && condition.operation == Operator::greater &&
        wanted->milliseconds > 4e12) {
        return false;
    }
    return std::nullopt;
}

Value readShelf(Object& /*self*/) {
    return ObjectPointer{state().shelf};
}

Value failing(Object& /*self*/) {
    throw std::runtime_error{"the lamp is out"};
}

Objects allBooks(Object& self) {
    note("all", self);
    const auto& books = dynamic_cast<Shelf&>(self).books;
    return {books.begin(), books.end()};
}

std::optional<Objects> findBooks(Object& self, std::string_view property, const Value& value) {
    const auto* const pages = std::get_if<double>(&value);
    if (property != "pages" || pages == nullptr) {
        return std::nullopt;
    }
    note("index", self);
    Objects found;
    for (const auto& one : dynamic_cast<Shelf&>(self).books) {
        if (one->pages == *pages) {
            found.push_back(one);
        }
    }
    return found;
}

void byTitle(Objects& books) {
    std::sort(books.begin(), books.end(), [](const ObjectPointer& a, const ObjectPointer& b) {
        return book(*a).title < book(*b).title;
    });
}

void addBook(Object& self, const ObjectPointer& element) {
    dynamic_cast<Shelf&>(self).books.push_back(std::dynamic_pointer_cast<Book>(element));
}

void burn(Object& self) {
    dynamic_cast<Shelf&>(self).books.clear();
}

ObjectPointer makeBook() {
    return std::make_shared<Book>();
}

const Class bookClass{.properties = {
                          {.name = "id", .read = readPages, .isKnown = true},
                          {.name = "title", .read = readTitle, .write = writingText<&Book::title>},
                          {.name = "name", .read = readTitle},
                          {.name = "pages", .read = readPages, .isKnown = true},
                          {.name = "printed", .read = readPrinted, .decide = decidePrinted},
                          {.name = "shelf", .read = readShelf},
                          {.name = "broken", .read = failing},
                      }};

const Class shelfClass{
    .properties = {{.name = "shelf", .read = readShelf}},
    .elements = {{.name = "books",
                  .type = &bookClass,
                  .all = allBooks,
                  .arrange = byTitle,
                  .push = addBook,
                  .find = findBooks},
                 {.name = "displayed", .type = &bookClass, .all = allBooks}},
    .commands = {{.name = "burn", .run = burn}},
    .constructors = {{.name = "Book", .make = makeBook}},
};

} // namespace

const Class& Book::type() const noexcept {
    return bookClass;
}

const Class& Shelf::type() const noexcept {
    return shelfClass;
}

State& state() {
    static State current;
    return current;
}

void reset() {
    state() = State{};
    for (const auto& [title, pages, printed] :
         {std::tuple{"Ulysses", 700., 3e12}, {"Emma", 400., 1e12}, {"Kim", 300., 2e12}}) {
        auto one = std::make_shared<Book>();
        one->title = title;
        one->pages = pages;
        one->printed = {printed};
        state().shelf->books.push_back(std::move(one));
    }
}

Evaluation evaluated(const std::string& source, const std::vector<std::string>& arguments) {
    return evaluate(source, arguments, {{"Library", [] { return ObjectPointer{state().shelf}; }}});
}

std::string resultOf(const std::string& source) {
    const Evaluation evaluation = evaluated(source);
    EXPECT_TRUE(evaluation.succeeded) << source << ": " << evaluation.text;
    return evaluation.text;
}

} // namespace velmiro::osascript::library
