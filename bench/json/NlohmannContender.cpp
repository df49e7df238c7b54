#include "bench/json/Contender.hpp"

#include <nlohmann/json.hpp>

namespace velmiro::bench {
namespace {

using MCPStdio::JSONValue;

struct Nlohmann {
    using Tree = nlohmann::json;
    static constexpr const char* name = "nlohmann";

    static Tree read(std::string_view text) { return Tree::parse(text); }
    static std::string write(const Tree& tree) { return tree.dump(); }
    static std::string_view view(const std::string& text) { return text; }

    static JSONValue value(const Tree& tree) {
        if (tree.is_object()) {
            auto object = JSONValue::object();
            for (const auto& [key, member] : tree.items()) {
                object.set(key, value(member));
            }
            return object;
        }
        if (tree.is_array()) {
            auto array = JSONValue::array();
            for (const Tree& element : tree) {
                array.append(value(element));
            }
            return array;
        }
        if (tree.is_string()) {
            return tree.get_ref<const std::string&>();
        }
        if (tree.is_number()) {
            return tree.get<double>();
        }
        return tree.is_boolean() ? JSONValue{tree.get<bool>()} : JSONValue{};
    }
};

} // namespace

std::unique_ptr<Contender> nlohmannContender() {
    return std::make_unique<ContenderWith<Nlohmann>>();
}

} // namespace velmiro::bench
