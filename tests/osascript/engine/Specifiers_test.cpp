#include "tests/osascript/engine/Library.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velmiro::osascript::library {

namespace {

class ScriptSpecifiers : public ::testing::Test {
protected:
    ScriptSpecifiers() { reset(); }

    /// Returns the titles that a filter finds, in their order.
    static std::string found(const std::string& filter) {
        return resultOf("Application('Library').books.whose(" + filter +
                        ")().map(b => b.title()).join()");
    }
};

using Asked = std::vector<std::string>;

TEST_F(ScriptSpecifiers, ReadsObjectsPropertiesAndElements) {
    const std::vector<std::pair<std::string, std::string>> expressions{
        {"books.length", "3"},
        {"books().length", "3"},
        {"books() instanceof Array", "true"},
        {"books[1].title()", "\"Kim\""},
        {"books[1]()().title()", "\"Kim\""},
        {"books.at(2).title()", "\"Ulysses\""},
        {"displayed[0].title()", "\"Ulysses\""},
        {"books.title()", "[\"Emma\",\"Kim\",\"Ulysses\"]"},
        {"books.byName('Kim').pages()", "300"},
        {"books.byId(700).title()", "\"Ulysses\""},
        {"books.whose({pages: 300}).whose({title: 'Emma'}).length", "0"},
        {"books.whose({pages: {'>': 300}}).byName('Emma').pages()", "400"},
        {"shelf.books.length", "3"},
        {"shelf().shelf().books.length", "3"},
        {"books[0].printed() instanceof Date", "true"},
        {"books[0].printed().getTime()", "1000000000000"},
        {"books[0].shelf.books[0].shelf().books.length", "3"},
    };
    for (const auto& [expression, value] : expressions) {
        EXPECT_EQ(resultOf("JSON.stringify(Application('Library')." + expression + ")"), value)
            << expression;
    }
    EXPECT_EQ(resultOf("String(Application('Library').books)"), "[object ObjectSpecifier]");
    EXPECT_EQ(resultOf("String(JSON.stringify(Application('Library').books))"), "undefined");
    EXPECT_EQ(resultOf("typeof Application('Library').books[0].title"), "function");
}

TEST_F(ScriptSpecifiers, RefusesNamesAndValuesThatDoNotExist) {
    const std::vector<std::pair<std::string, int>> mistakes{
        {"boks", -1728},
        {"books[0].titel", -1728},
        {"books[0].titel()", -1728},
        {"books.titel", -1728},
        {"books[0].title.length", -1728},
        {"constructor", -1728},
        {"Bok({})", -1728},
        {"Book({titel: 'x'})", -1728},
        {"Book({title: 5})", -1700},
        {"Book('x')", -1728},
        {"books[3]", -1719},
        {"books[99999999999999999999]", -1719},
        {"books.at(-1)", -1719},
        {"books.at(0.5)", -1719},
        {"books.at('0')", -1719},
        {"books.byName('Dune')", -1728},
        {"displayed.byId(5)", -1728},
        {"books.whose({titel: 'x'})", -1728},
        {"books.whose({title: {_like: 'x'}})", -1700},
        {"books.whose({title: ['x']})", -1700},
        {"books.whose('x')", -1700},
        {"books.whose()", -1700},
        {"books.whose({_or: {}})", -1700},
        {"books.whose({_or: [5]})", -1700},
        {"books.push({})", -1700},
        {"books.push(Application('Library'))", -1700},
        {"displayed.push(Application('Library').Book({}))", -1700},
        {"books[0].pages = 5", -10006},
        {"books = 5", -1728},
        {"burn.x.y", -2700},
    };
    for (const auto& [expression, number] : mistakes) {
        const Evaluation evaluation = evaluated("Application('Library')." + expression);
        EXPECT_FALSE(evaluation.succeeded) << expression;
        EXPECT_TRUE(evaluation.text.ends_with("(" + std::to_string(number) + ")"))
            << expression << ": " << evaluation.text;
    }
}

TEST_F(ScriptSpecifiers, CreatesChangesAndCommands) {
    EXPECT_EQ(resultOf("const L = Application('Library'), b = L.Book({title: 'Dune'});"
                       "L.books.push(b); b.title = 'Dune 2'; L.books.title().join()"),
              "Dune 2,Emma,Kim,Ulysses");
    EXPECT_EQ(resultOf("const L = Application('Library'); L.burn(); String(L.books.length)"), "0");
}

TEST_F(ScriptSpecifiers, FindsByEveryOperator) {
    const std::vector<std::pair<std::string, std::string>> filters{
        {"{title: 'Kim'}", "Kim"},
        {"{title: 'KIM'}", ""},
        {"{title: {'=': 'Kim'}}", "Kim"},
        {"{title: {_equals: 'Kim'}}", "Kim"},
        {"{title: {'>': 'Emma'}}", "Kim,Ulysses"},
        {"{title: {_greaterThanEquals: 'Kim', _lessThan: 'Ulysses'}}", "Kim"},
        {"{pages: {'<=': 400}}", "Emma,Kim"},
        {"{pages: {_lessThanEquals: 300}}", "Kim"},
        {"{pages: '300'}", ""},
        {"{pages: null}", ""},
        {"{pages: undefined}", ""},
        {"{title: {'>': 5}}", ""},
        {"{title: {_contains: 'M'}}", "Emma,Kim"},
        {"{title: {_contains: ''}}", "Emma,Kim,Ulysses"},
        {"{title: {_beginsWith: 'e'}}", "Emma"},
        {"{title: {_endsWith: 'S'}}", "Ulysses"},
        {"{pages: {_contains: '0'}}", ""},
        {"{printed: {'>': new Date(1500000000000)}}", "Kim,Ulysses"},
        {"{printed: new Date(1000000000000)}", "Emma"},
        {"{printed: new Date(NaN)}", ""},
        {"{_or: [{title: 'Kim'}, {pages: 400}]}", "Emma,Kim"},
        {"{_and: [{title: {_contains: 'm'}}, {pages: 300}]}", "Kim"},
        {"{_not: [{title: {_contains: 'm'}}]}", "Ulysses"},
        {"{_or: []}", ""},
        {"{title: {_contains: 'm'}, pages: 400}", "Emma"},
        {"{}", "Emma,Kim,Ulysses"},
    };
    for (const auto& [filter, titles] : filters) {
        EXPECT_EQ(found(filter), titles) << filter;
    }
}

TEST_F(ScriptSpecifiers, ComparesTextsByCharactersHoweverTheyAreComposed) {
    state().shelf->books[0]->title = "Cafe\u0301";
    EXPECT_EQ(found("{title: 'Caf\\u00e9'}"), "Cafe\u0301");
    // In JavaScript's order a character beyond the basic plane is less than U+FF5E.
    state().shelf->books[0]->title = "\U0001f600";
    EXPECT_EQ(found("{title: {'>': '\\uff5e'}}"), "");
}

TEST_F(ScriptSpecifiers, AsksOnlyForWhatTheAnswerNeeds) {
    resultOf("Application('Library').displayed.whose({title: 'x', pages: {'>': 500}})().length "
             "+ ''");
    EXPECT_EQ(state().asked, (Asked{"all of the shelf", "pages of Ulysses", "title of Ulysses",
                                    "pages of Emma", "pages of Kim"}));
}

TEST_F(ScriptSpecifiers, LetsAPropertyDecideWithoutBeingRead) {
    resultOf("Application('Library').displayed.whose({printed: {'>': new Date(5e12)}})().length "
             "+ ''");
    EXPECT_EQ(state().asked, (Asked{"all of the shelf", "decision on printed of Ulysses",
                                    "decision on printed of Emma", "decision on printed of Kim"}));
}

TEST_F(ScriptSpecifiers, UsesAnIndexWhereThereIsOne) {
    resultOf("Application('Library').books.whose({title: 'Kim', pages: 300})().length + ''");
    EXPECT_EQ(state().asked, (Asked{"index of the shelf", "pages of Kim", "title of Kim"}));
}

TEST_F(ScriptSpecifiers, LeavesOutWhatIsGoneFromAFilter) {
    state().shelf->books[1]->isGone = true;
    EXPECT_EQ(found("{title: {_contains: 'm'}}"), "Kim");
    const Evaluation reading = evaluated("Application('Library').books[0].title()");
    EXPECT_EQ(reading.text, "Error: Error: Can't get object. (-1728)");
}

} // namespace

} // namespace velmiro::osascript::library
