#include "tests/osascript/engine/Library.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velmiro::osascript::library {

namespace {

class ScriptEvaluation : public ::testing::Test {
protected:
    ScriptEvaluation() { reset(); }
};

TEST_F(ScriptEvaluation, ReturnsWhatRunReturns) {
    const Evaluation evaluation =
        evaluated("function run(argv) { return argv.join('|') }", {"a", "", "ü \"x\""});
    EXPECT_TRUE(evaluation.succeeded);
    EXPECT_EQ(evaluation.text, "a||ü \"x\"");
}

TEST_F(ScriptEvaluation, ReturnsTheLastExpressionWithoutRun) {
    EXPECT_EQ(resultOf("const a = '1'; a + '2'"), "12");
    EXPECT_EQ(resultOf("const run = argv => 'called'; 'not called'"), "called");
    EXPECT_EQ(resultOf("function run() {}"), "");
}

TEST_F(ScriptEvaluation, KeepsTextsOfEveryKind) {
    for (const std::string& text :
         {std::string{"NUL \0 within", 12},
          std::string{"emoji 👩‍👩‍👧 e\u0301 \u2028 日本語"},
          std::string(100'000, 'x') + "ü"}) {
        const Evaluation evaluation = evaluated("function run([text]) { return text }", {text});
        EXPECT_EQ(evaluation.text, text);
    }
    EXPECT_EQ(resultOf("'a\\ud800b'"), "a\ufffdb");
}

TEST_F(ScriptEvaluation, TellsErrorsInTheFormOfTheSystem) {
    const std::vector<std::pair<std::string, std::string>> failures{
        {"throw new Error('no')", "Error: Error: no (-2700)"},
        {"throw new TypeError('no')", "Error: TypeError: no (-2700)"},
        {"throw 'text'", "Error: text (-2700)"},
        {"throw undefined", "Error: undefined (-2700)"},
        {"throw {errorNumber: -5, toString: () => 'x'}", "Error: x (-5)"},
        {"throw {errorNumber: 1.5, toString: () => 'x'}", "Error: x (-2700)"},
        {"throw {toString() { throw 1 }}", "Error:  (-2700)"},
        {"throw {get errorNumber() { throw 1 }}", "Error:  (-2700)"},
        {"missing", "Error: ReferenceError: Can't find variable: missing (-2700)"},
        {"let x = ;", "Error: SyntaxError: Unexpected token ';' (-2700)"},
        {"1", "Error: Error: Can't convert types. (-1700)"},
        {"Application('Foo')", "Error: Error: Application can't be found. (-2700)"},
        {"Application()", "Error: Error: Application can't be found. (-2700)"},
        {"Application('Library').shelf.books[0].broken()", "Error: Error: the lamp is out (-2700)"},
    };
    for (const auto& [source, text] : failures) {
        const Evaluation evaluation = evaluated(source);
        EXPECT_FALSE(evaluation.succeeded) << source;
        EXPECT_EQ(evaluation.text, text) << source;
    }
}

TEST_F(ScriptEvaluation, MakesErrorsThatScriptsCanCatch) {
    EXPECT_EQ(resultOf("try { Application('Foo') } catch (e) { `${e instanceof Error} "
                       "${e.errorNumber} ${e.message}` }"),
              "true -2700 Application can't be found.");
}

TEST_F(ScriptEvaluation, CollectsGarbageWithoutHarm) {
    EXPECT_EQ(resultOf("const shelf = Application('Library'); let n = 0;"
                       "for (let i = 0; i < 100000; i++) n += shelf.books.whose({pages: 300})"
                       "().length; String(n)"),
              "100000");
}

} // namespace

} // namespace velmiro::osascript::library
