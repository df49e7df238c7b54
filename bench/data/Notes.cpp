// A search in thousands of notes, as grep does it, which knows neither titles nor markup.

#include "bench/data/Dataset.hpp"
#include "bench/data/Items.hpp"

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

constexpr int perRareOne = 250; ///< one in that many contains the word
constexpr int folders = 10;
constexpr const char* rareWord = "Quartermaine";

/// Targets: times what grep costs, and bytes.
constexpr double mostTimes = 2;
constexpr double mostMemory = 40e6;

/// Drops the beginning that all of them share.
Found shortened(const Found& found, std::size_t beginning) {
    Found shorter;
    for (const std::string& text : found) {
        shorter.insert(text.substr(beginning));
    }
    return shorter;
}

std::string asciiOf(const std::string& text) {
    std::string ascii;
    for (const char byte : text) {
        ascii += static_cast<unsigned char>(byte) < 0x80 ? std::string(1, byte) : "o";
    }
    return ascii;
}

} // namespace

std::vector<Question> makeNotes(const Home& home, int notes) {
    const auto root = home.folder("Notes");
    Words words;
    Found expected;
    for (int number = 0; number < notes; ++number) {
        const std::string folder = "Folder " + std::to_string(number % folders);
        const std::string name = folder + "/" + itemName(number) + ".md";
        // Every other one is plain: without marks within lines, or letters beyond ASCII.
        const bool isPlain = number % 2 == 0;
        const auto shown = [&](std::string text) { return isPlain ? asciiOf(text) : text; };
        const std::string mark = isPlain ? "" : "*";
        std::string text = "# Note " + std::to_string(number) + "\n\n" +
                           shown(words.paragraph(100)) + "\n- " + mark + shown(words.word()) +
                           mark + "\n- " + shown(words.word()) + "\n\n" +
                           shown(words.paragraph(50));
        if (number % perRareOne == 0) {
            expected.insert(name);
            text += std::string{"\nAsk **"} + rareWord + "** about it.\n";
        }
        writeFile(home.folder("Notes/" + folder) / (itemName(number) + ".md"),
                  text + "\n" + shown(words.paragraph(50)));
    }
    const Rival grep{
        "grep",
        {"/usr/bin/grep", "-ril", "quartermaine", root},
        [beginning = root.string().size() + 1](const std::string& output) {
            return shortened(linesOf(output), beginning);
        },
    };
    return {{"a search in " + counted(notes) + " notes", "notes_search",
             JSONValue::object({{"query", "quartermaine"}, {"limit", 30}}),
             [](const JSONValue& payload) {
                 constexpr std::string_view kind = "note:";
                 return shortened(textsOf(payload, "notes", "id"), kind.size());
             },
             grep, expected, mostTimes, mostMemory}};
}

} // namespace velmiro::bench
