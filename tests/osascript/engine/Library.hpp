#pragma once

#include "osascript/dictionary/Class.hpp"
#include "osascript/engine/Evaluation.hpp"

#include <memory>
#include <string>
#include <vector>

/// An application for tests of the engine: shelves of books, which record what is asked of them.
namespace velmiro::osascript::library {

struct Book : Object {
    std::string title;
    double pages = 0;
    Date printed;
    bool isGone = false;

    [[nodiscard]] const Class& type() const noexcept override;
};

struct Shelf : Object {
    std::vector<std::shared_ptr<Book>> books;

    [[nodiscard]] const Class& type() const noexcept override;
};

/// The one shelf of the application, and what scripts asked for, in order: `title of Emma`.
struct State {
    std::shared_ptr<Shelf> shelf = std::make_shared<Shelf>();
    std::vector<std::string> asked;
};

/// Returns the state that the application shows now.
State& state();

/// Starts again with three books: Emma (400 pages), Ulysses (700), Kim (300).
void reset();

/// Evaluates a script that may ask for `Application('Library')`.
Evaluation evaluated(const std::string& source, const std::vector<std::string>& arguments = {});

/// Returns the text of a script that must succeed.
std::string resultOf(const std::string& source);

} // namespace velmiro::osascript::library
