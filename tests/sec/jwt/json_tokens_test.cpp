#include "sec/jwt/json_tokens.h"

#include "tests/sec/jwt/json_grammar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace quorvanti {
namespace {

std::vector<JsonToken> tokensOf(std::string_view text) {
    std::vector<JsonToken> tokens(text.size() + 1);
    const std::int32_t count = jsonTokenize(text, tokens);
    EXPECT_GE(count, 0) << text;
    tokens.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return tokens;
}

std::int32_t countOf(std::string_view text) {
    std::vector<JsonToken> tokens(text.size() + 1);
    return jsonTokenize(text, tokens);
}

struct Row {
    JsonType type;
    const char* text;
    std::uint32_t children;
    std::int32_t parent;
};

void expectTokens(std::string_view text, const std::vector<Row>& rows) {
    const std::vector<JsonToken> tokens = tokensOf(text);
    ASSERT_EQ(tokens.size(), rows.size()) << text;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        EXPECT_EQ(tokens[at].type, rows[at].type) << at;
        EXPECT_EQ(tokens[at].text(text), rows[at].text) << at;
        EXPECT_EQ(tokens[at].children, rows[at].children) << at;
        EXPECT_EQ(tokens[at].parent, rows[at].parent) << at;
    }
}

TEST(JsonTokens, HaveTheTypeNumbersOfTheFormat) {
    EXPECT_EQ(static_cast<int>(JsonType::object), 1);
    EXPECT_EQ(static_cast<int>(JsonType::array), 2);
    EXPECT_EQ(static_cast<int>(JsonType::string), 3);
    EXPECT_EQ(static_cast<int>(JsonType::primitive), 4);
}

TEST(JsonTokens, TellTypeTextChildrenAndParent) {
    expectTokens(R"({"a":1,"b":["x",{"c":null}],"d":{}})",
                 {
                     {JsonType::object, R"({"a":1,"b":["x",{"c":null}],"d":{}})", 3, -1},
                     {JsonType::string, "a", 1, 0},
                     {JsonType::primitive, "1", 0, 1},
                     {JsonType::string, "b", 1, 0},
                     {JsonType::array, R"(["x",{"c":null}])", 2, 3},
                     {JsonType::string, "x", 0, 4},
                     {JsonType::object, R"({"c":null})", 1, 4},
                     {JsonType::string, "c", 1, 6},
                     {JsonType::primitive, "null", 0, 7},
                     {JsonType::string, "d", 1, 0},
                     {JsonType::object, "{}", 0, 9},
                 });
}

TEST(JsonTokens, LeaveEscapesAsTheyAre) {
    expectTokens(R"(["a\"\\\u00e4"])",
                 {{JsonType::array, R"(["a\"\\\u00e4"])", 1, -1}, {JsonType::string, R"(a\"\\\u00e4)", 0, 0}});
}

TEST(JsonTokens, DoNotCountWhiteSpaceAroundTheValue) {
    expectTokens(" \t\r\n{ \"a\" : true } ", {{JsonType::object, "{ \"a\" : true }", 1, -1},
                                              {JsonType::string, "a", 1, 0},
                                              {JsonType::primitive, "true", 0, 1}});
}

TEST(JsonTokens, NeedRoomForEveryToken) {
    const std::string_view text = R"({"a":1,"b":[2]})";  // six tokens
    for (std::size_t room = 0; room <= 6; ++room) {
        const auto tokens = std::make_unique<JsonToken[]>(room);  // its own block: writing behind it would be seen
        EXPECT_EQ(jsonTokenize(text, {tokens.get(), room}), room < 6 ? kJsonNoRoom : 6) << room;
    }
}

TEST(JsonTokens, RefuseATextThatStopsAnywhere) {
    const std::string text = R"({"a":[1.5e+3,true,"\u00e4\n"],"b":{"c":null}})";
    ASSERT_GT(countOf(text), 0);
    for (std::size_t length = 0; length < text.size(); ++length) {
        const auto copy = std::make_unique<char[]>(length);  // its own block: reading behind it would be seen
        text.copy(copy.get(), length);
        EXPECT_EQ(countOf({copy.get(), length}), kJsonMalformed) << length;
    }
}

// What holds for the tokens of any text that was accepted.
void expectSound(std::string_view text, std::span<const JsonToken> tokens) {
    for (std::size_t at = 0; at < tokens.size(); ++at) {
        const JsonToken& token = tokens[at];
        ASSERT_LE(token.start, token.end);
        ASSERT_LE(token.end, text.size());
        ASSERT_LT(token.parent, static_cast<std::int32_t>(at));
        ASSERT_EQ(token.parent < 0, at == 0);
    }
}

// A prefix that makes a text of few bytes reach further into the grammar, and its end.
struct Frame {
    const char* before;
    const char* behind;
};

void compareWithGrammar(std::size_t length, const Frame& frame) {
    const std::string before = frame.before;
    const std::string behind = frame.behind;
    const std::size_t size = before.size() + length + behind.size();
    const auto text = std::make_unique<char[]>(size);
    const auto tokens = std::make_unique<JsonToken[]>(size + 1);
    before.copy(text.get(), before.size());
    behind.copy(text.get() + before.size() + length, behind.size());
    std::size_t accepted = 0;
    for (std::uint32_t number = 0; number < (1U << (8 * length)); ++number) {
        for (std::size_t at = 0; at < length; ++at) {
            text[before.size() + at] = static_cast<char>(number >> (8 * at));
        }
        const std::string_view view(text.get(), size);
        const std::int32_t count = jsonTokenize(view, {tokens.get(), size + 1});
        ASSERT_EQ(count > 0, test::JsonGrammar::accepts(view)) << number << " in " << before << "..." << behind;
        if (count > 0) {
            ++accepted;
            expectSound(view, {tokens.get(), static_cast<std::size_t>(count)});
        }
    }
    EXPECT_TRUE(accepted > 0 || length == 0) << before << "..." << behind;
}

TEST(JsonTokens, AgreeWithTheGrammarOnAllByteStringsOfThree) {
    compareWithGrammar(3, {"", ""});
}

TEST(JsonTokens, AgreeWithTheGrammarOnAllShorterByteStrings) {
    for (std::size_t length = 0; length < 3; ++length) {
        compareWithGrammar(length, {"", ""});
    }
}

TEST(JsonTokens, AgreeWithTheGrammarOnTwoBytesInManyPlaces) {
    for (const Frame& frame : {Frame{"\"\\", "\""},
                               {"\"\\u00", "\""},
                               {"[1", "1]"},
                               {"{\"a\"", "1}"},
                               {"{\"a\":1", "}"},
                               {"[0.", "]"},
                               {"[1e", "]"},
                               {"[1e", "5]"},
                               {"[[", "]]"},
                               {"{\"a\":{", "}}"},
                               {"[{", "}]"},
                               {"[-", "]"},
                               {"tr", ""},
                               {"[", ""}}) {
        compareWithGrammar(2, frame);
    }
}

TEST(JsonTokens, TakeNestingAndLengthInLinearTime) {
    const std::size_t depth = 100'000;
    const std::string nested = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_EQ(countOf(nested), static_cast<std::int32_t>(depth));
    EXPECT_EQ(countOf(std::string(depth, '[')), kJsonMalformed);

    std::string names = "{";
    for (std::size_t at = 0; at < depth; ++at) {
        names += "\"a\":{";
    }
    names += "\"b\":1" + std::string(depth + 1, '}');
    EXPECT_EQ(countOf(names), static_cast<std::int32_t>(2 * depth + 3));

    // Sixteen times the text may cost sixteen times as much, not two hundred and fifty-six times.
    const auto timeOf = [](std::size_t levels) {
        const std::string text = std::string(levels, '[') + std::string(levels, ']');
        std::vector<JsonToken> tokens(levels);
        auto best = std::chrono::nanoseconds::max();
        for (int round = 0; round < 5; ++round) {
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(jsonTokenize(text, tokens), static_cast<std::int32_t>(levels));
            best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
        }
        return best;
    };
    EXPECT_LT(timeOf(16 * 20'000), 100 * timeOf(20'000));
}

}  // namespace
}  // namespace quorvanti
