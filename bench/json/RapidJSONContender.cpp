#include "bench/json/Contender.hpp"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <stdexcept>

namespace velmiro::bench {
namespace {

using MCPStdio::JSONValue;

/// As strict as ours: numbers are exact to the last bit, and UTF-8 is checked while reading.
/// Neither library checks it again while writing. The SSE2 option is off, as by default: only
/// writing long strings gains from it.
struct RapidJSON {
    using Tree = rapidjson::Document;
    static constexpr const char* name = "RapidJSON";

    static Tree read(std::string_view text) {
        constexpr unsigned flags =
            rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag;
        Tree tree;
        tree.Parse<flags>(text.data(), text.size());
        if (tree.HasParseError()) {
            throw std::runtime_error{"RapidJSON cannot read a text"};
        }
        return tree;
    }

    static rapidjson::StringBuffer write(const Tree& tree) {
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer{text};
        tree.Accept(writer);
        return text;
    }
    static std::string_view view(const rapidjson::StringBuffer& text) {
        return {text.GetString(), text.GetSize()};
    }

    static JSONValue value(const rapidjson::Value& tree) {
        if (tree.IsObject()) {
            auto object = JSONValue::object();
            for (const auto& member : tree.GetObject()) {
                object.set(string(member.name), value(member.value));
            }
            return object;
        }
        if (tree.IsArray()) {
            auto array = JSONValue::array();
            for (const auto& element : tree.GetArray()) {
                array.append(value(element));
            }
            return array;
        }
        if (tree.IsString()) {
            return string(tree);
        }
        if (tree.IsNumber()) {
            return tree.GetDouble();
        }
        return tree.IsBool() ? JSONValue{tree.GetBool()} : JSONValue{};
    }

private:
    static std::string_view string(const rapidjson::Value& tree) {
        return {tree.GetString(), tree.GetStringLength()};
    }
};

} // namespace

std::unique_ptr<Contender> rapidJSONContender() {
    return std::make_unique<ContenderWith<RapidJSON>>();
}

} // namespace velmiro::bench
