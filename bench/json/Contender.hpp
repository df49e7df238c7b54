#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmiro::bench {

/// A JSON library and the work that is timed. A text does not change as long as its address is the
/// same.
class Contender {
public:
    Contender() = default;
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Returns the head of its column.
    [[nodiscard]] virtual std::string name() const = 0;

    /// Timed: parses a text into a tree, and frees the tree.
    virtual void read(std::string_view text) = 0;
    /// Returns the tree that `read` makes, to be compared.
    virtual MCPStdio::JSONValue tree(std::string_view text) = 0;

    [[nodiscard]] virtual bool canWrite() const = 0;
    /// Parses the tree that `write` writes, and keeps it until another text is read.
    virtual void keep(std::string_view text) = 0;
    /// Timed: writes the kept tree as a new, compact text, and frees the text.
    virtual void write() = 0;
    /// Returns the text that `write` makes, to be compared.
    virtual std::string written() = 0;
};

/// Keeps the compiler from dropping the work that leads to `object`.
template <typename Object>
void observe(const Object& object) {
    asm volatile("" : : "g"(&object) : "memory");
}

/// Makes a contender of a library that has `name`, `Tree read(text)`, `JSONValue value(tree)` and,
/// if it can write, `write(tree)`, whose result `view` turns into a string_view.
template <typename Library>
class ContenderWith final : public Contender {
public:
    [[nodiscard]] std::string name() const override { return Library::name; }

    void read(std::string_view text) override { observe(library_.read(text)); }
    MCPStdio::JSONValue tree(std::string_view text) override {
        return Library::value(library_.read(text));
    }

    [[nodiscard]] bool canWrite() const override { return writes; }
    void keep(std::string_view text) override { kept_.emplace(library_.read(text)); }
    void write() override {
        if constexpr (writes) {
            observe(Library::write(*kept_));
        }
    }
    std::string written() override {
        if constexpr (writes) {
            const auto text = Library::write(*kept_);
            return std::string{Library::view(text)};
        }
        return {};
    }

private:
    using Tree = decltype(std::declval<Library&>().read(std::string_view{}));
    static constexpr bool writes = requires(const Tree& tree) { Library::write(tree); };

    Library library_;
    std::optional<Tree> kept_;
};

std::unique_ptr<Contender> mcpStdioContender();
std::unique_ptr<Contender> nlohmannContender();
std::unique_ptr<Contender> rapidJSONContender();
/// simdjson's own document, which can be read and written but not changed.
std::unique_ptr<Contender> simdjsonContender();
/// The same, converted to a tree that owns its text and can be changed. It has no writer.
std::unique_ptr<Contender> simdjsonTreeContender();

} // namespace velmiro::bench
