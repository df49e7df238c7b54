#include "bench/json/Contender.hpp"

#include <simdjson.h>

#include <cstdint>
#include <variant>

namespace velmiro::bench {
namespace {

using MCPStdio::JSONValue;
using simdjson::dom::element;

/// simdjson at its best: one parser for all texts, and each text padded beforehand as it prefers.
class Parser {
public:
    element read(std::string_view text) {
        if (text.data() != source_) {
            source_ = text.data();
            padded_ = simdjson::padded_string{text};
        }
        return {parser_.parse(padded_)};
    }

private:
    const char* source_ = nullptr;
    simdjson::padded_string padded_;
    simdjson::dom::parser parser_;
};

struct Simdjson : Parser {
    static constexpr const char* name = "simdjson, read-only";

    static std::string write(const element& tree) { return simdjson::minify(tree); }
    static std::string_view view(const std::string& text) { return text; }

    static JSONValue value(const element& tree) {
        if (tree.is_object()) {
            auto object = JSONValue::object();
            for (const auto& [key, member] : simdjson::dom::object{tree}) {
                object.set(key, value(member));
            }
            return object;
        }
        if (tree.is_array()) {
            auto array = JSONValue::array();
            for (const element child : simdjson::dom::array{tree}) {
                array.append(value(child));
            }
            return array;
        }
        if (tree.is_string()) {
            return std::string_view{tree};
        }
        if (tree.is_number()) {
            return double{tree};
        }
        return tree.is_bool() ? JSONValue{bool{tree}} : JSONValue{};
    }
};

/// The tree that an application would build with the standard library.
struct Member;
struct Node {
    using Array = std::vector<Node>;
    using Object = std::vector<Member>;

    std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Array,
                 Object>
        content;
};
struct Member {
    std::string name;
    Node value;
};

Node nodeOf(const element& tree) {
    switch (tree.type()) {
    case simdjson::dom::element_type::OBJECT: {
        const simdjson::dom::object members{tree};
        Node::Object object;
        object.reserve(members.size());
        for (const auto& [key, member] : members) {
            object.push_back({std::string{key}, nodeOf(member)});
        }
        return {std::move(object)};
    }
    case simdjson::dom::element_type::ARRAY: {
        const simdjson::dom::array elements{tree};
        Node::Array array;
        array.reserve(elements.size());
        for (const element child : elements) {
            array.push_back(nodeOf(child));
        }
        return {std::move(array)};
    }
    case simdjson::dom::element_type::STRING:
        return {std::string{std::string_view{tree}}};
    case simdjson::dom::element_type::DOUBLE:
        return {double{tree}};
    case simdjson::dom::element_type::INT64:
        return {std::int64_t{tree}};
    case simdjson::dom::element_type::UINT64:
        return {std::uint64_t{tree}};
    case simdjson::dom::element_type::BOOL:
        return {bool{tree}};
    default:
        return {nullptr};
    }
}

JSONValue valueOf(const Node& node) {
    const auto convert = [](const auto& content) -> JSONValue {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::same_as<Content, Node::Object>) {
            auto object = JSONValue::object();
            for (const auto& [key, member] : content) {
                object.set(key, valueOf(member));
            }
            return object;
        } else if constexpr (std::same_as<Content, Node::Array>) {
            auto array = JSONValue::array();
            for (const Node& child : content) {
                array.append(valueOf(child));
            }
            return array;
        } else {
            return content;
        }
    };
    return std::visit(convert, node.content);
}

struct SimdjsonTree {
    static constexpr const char* name = "simdjson + tree";

    Node read(std::string_view text) { return nodeOf(parser.read(text)); }
    static JSONValue value(const Node& tree) { return valueOf(tree); }

    Parser parser;
};

} // namespace

std::unique_ptr<Contender> simdjsonContender() {
    return std::make_unique<ContenderWith<Simdjson>>();
}

std::unique_ptr<Contender> simdjsonTreeContender() {
    return std::make_unique<ContenderWith<SimdjsonTree>>();
}

} // namespace velmiro::bench
