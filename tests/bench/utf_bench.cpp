// The UTF members against glibc's iconv and ICU, each used as fast as it goes for many short texts: descriptor and
// converters opened once. One iteration converts every text of a set once; "per_call" is the time of one conversion.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "krn/rscp/utf_converters.h"

namespace {

using namespace quorvanti;

using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<Bytes>;
using Room = std::span<std::uint8_t>;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

void require(bool condition, const char* what) {
    if (!condition) {
        fail(what);
    }
}

// Source texts.

enum class Script { ascii, latin, cjk, mixed };

struct TextSet {
    const char* name;
    Script script;
    std::size_t count;
    std::size_t shortest;
    std::size_t longest;
};

// 1024 different texts, so that no branch predictor knows them by heart.
// clang-format off
constexpr TextSet kTextSets[] = {
    {"short_ascii",  Script::ascii, 1024,     1,    64},
    {"short_latin",  Script::latin, 1024,     1,    64},
    {"short_cjk",    Script::cjk,   1024,     1,    64},
    {"short_mixed",  Script::mixed, 1024,     1,    64},
    {"16_mixed",     Script::mixed, 1024,    16,    16},
    {"64_mixed",     Script::mixed, 1024,    64,    64},
    {"256_mixed",    Script::mixed, 1024,   256,   256},
    {"64K_ascii",    Script::ascii,    1, 65536, 65536},
    {"64K_latin",    Script::latin,    1, 65536, 65536},
    {"64K_cjk",      Script::cjk,      1, 65536, 65536},
};
// clang-format on

class TextMaker {
public:
    explicit TextMaker(bool beyondSixteenBits) : beyondSixteenBits_(beyondSixteenBits) {}

    Texts make(const TextSet& set) {
        Texts texts;
        std::uniform_int_distribution<std::size_t> length(set.shortest, set.longest);
        for (std::size_t i = 0; i < set.count; ++i) {
            texts.push_back(text(set.script, length(random_)));
        }
        return texts;
    }

private:
    Bytes text(Script script, std::size_t length) {
        Bytes bytes;
        while (bytes.size() < length) {
            const Bytes next = character(script);
            // The last place is filled with what fits.
            if (bytes.size() + next.size() <= length) {
                bytes.insert(bytes.end(), next.begin(), next.end());
            } else {
                bytes.push_back('x');
            }
        }
        return bytes;
    }

    Bytes character(Script script) {
        const int choice = std::uniform_int_distribution<int>(0, 99)(random_);
        switch (script) {
            case Script::ascii:
                return ascii();
            case Script::latin:
                return choice < 80 ? ascii() : latin();
            case Script::cjk:
                return choice < 10 ? ascii() : cjk();
            case Script::mixed:
                break;
        }
        if (choice < 60) {
            return ascii();
        }
        if (choice < 80) {
            return latin();
        }
        return choice < 95 || !beyondSixteenBits_ ? cjk() : emoji();
    }

    std::uint8_t among(int first, int last) {
        return static_cast<std::uint8_t>(std::uniform_int_distribution<int>(first, last)(random_));
    }
    Bytes ascii() { return {among(' ', '~')}; }
    Bytes latin() { return {0xC3, among(0x80, 0xBF)}; }
    Bytes cjk() { return {among(0xE5, 0xE9), among(0x80, 0xBF), among(0x80, 0xBF)}; }
    Bytes emoji() { return {0xF0, 0x9F, among(0x98, 0x9A), among(0x80, 0xBF)}; }

    bool beyondSixteenBits_;
    std::mt19937 random_{20};
};

// Contenders. Each converts a text from UTF-8 or to UTF-8 and returns the number of bytes written.

struct Pair {
    const char* name;
    bool fromUtf8;
    WideForm form;
    ByteOrder order;
    const char* iconvName;
    const char* icuName;
};

// Names for a machine with the low byte first.
// clang-format off
constexpr Pair kPairs[] = {
    {"U8_to_U2",   true,  WideForm::ucs2,  ByteOrder::native,  "UCS-2LE",  "UTF-16LE"},
    {"U8_to_U2sw", true,  WideForm::ucs2,  ByteOrder::swapped, "UCS-2BE",  "UTF-16BE"},
    {"U8_to_U6",   true,  WideForm::utf16, ByteOrder::native,  "UTF-16LE", "UTF-16LE"},
    {"U8_to_U6sw", true,  WideForm::utf16, ByteOrder::swapped, "UTF-16BE", "UTF-16BE"},
    {"U8_to_U4",   true,  WideForm::ucs4,  ByteOrder::native,  "UCS-4LE",  "UTF-32LE"},
    {"U8_to_U4sw", true,  WideForm::ucs4,  ByteOrder::swapped, "UCS-4BE",  "UTF-32BE"},
    {"U2_to_U8",   false, WideForm::ucs2,  ByteOrder::native,  "UCS-2LE",  "UTF-16LE"},
    {"U2sw_to_U8", false, WideForm::ucs2,  ByteOrder::swapped, "UCS-2BE",  "UTF-16BE"},
    {"U6_to_U8",   false, WideForm::utf16, ByteOrder::native,  "UTF-16LE", "UTF-16LE"},
    {"U6sw_to_U8", false, WideForm::utf16, ByteOrder::swapped, "UTF-16BE", "UTF-16BE"},
    {"U4_to_U8",   false, WideForm::ucs4,  ByteOrder::native,  "UCS-4LE",  "UTF-32LE"},
    {"U4sw_to_U8", false, WideForm::ucs4,  ByteOrder::swapped, "UCS-4BE",  "UTF-32BE"},
};
// clang-format on

class Member {
public:
    Member(const Pair& pair, ControlCodes controls, UtfInstructions instructions = fastestUtfInstructions())
        : fromUtf8_(pair.fromUtf8),
          encoder_(utfEncoder(pair.form, pair.order, controls, instructions)),
          decoder_(utfDecoder(pair.form, pair.order, controls, instructions)) {}

    std::size_t convert(const Bytes& text, Room room) {
        const std::uint8_t* source = text.data();
        const std::uint8_t* const sourceEnd = source + text.size();
        std::uint8_t* to = room.data();
        std::uint8_t* const toEnd = to + room.size();
        const std::int32_t code = fromUtf8_ ? decoder_(source, sourceEnd, to, toEnd, nullptr, nullptr)
                                            : encoder_(source, sourceEnd, to, toEnd);
        require(code == 0, "member");
        return static_cast<std::size_t>(to - room.data());
    }

private:
    bool fromUtf8_;
    UtfEncoder encoder_;
    UtfDecoder decoder_;
};

struct PlainMember : Member {
    explicit PlainMember(const Pair& pair) : Member(pair, ControlCodes::allowed) {}
};

struct RefusingMember : Member {
    explicit RefusingMember(const Pair& pair) : Member(pair, ControlCodes::refused) {}
};

// As on a processor that has nothing better.
struct Sse2Member : Member {
    explicit Sse2Member(const Pair& pair) : Member(pair, ControlCodes::allowed, UtfInstructions::sse2) {}
};

class Iconv {
public:
    explicit Iconv(const Pair& pair)
        : descriptor_(iconv_open(pair.fromUtf8 ? pair.iconvName : "UTF-8", pair.fromUtf8 ? "UTF-8" : pair.iconvName)) {
        require(reinterpret_cast<std::intptr_t>(descriptor_) != -1, "iconv_open");
    }
    ~Iconv() { iconv_close(descriptor_); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    std::size_t convert(const Bytes& text, Room room) {
        char* from = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
        char* to = reinterpret_cast<char*>(room.data());
        std::size_t fromLeft = text.size();
        std::size_t toLeft = room.size();
        require(iconv(descriptor_, &from, &fromLeft, &to, &toLeft) == 0, "iconv");
        return room.size() - toLeft;
    }

private:
    iconv_t descriptor_;
};

// ICU's string functions where they do the pair, its converters otherwise.
class Icu {
public:
    explicit Icu(const Pair& pair) : pair_(pair), pivot_(65536) {
        UErrorCode error = U_ZERO_ERROR;
        utf8_.reset(ucnv_open("UTF-8", &error));
        wide_.reset(ucnv_open(pair.icuName, &error));
        require(U_SUCCESS(error), "ucnv_open");
    }

    std::size_t convert(const Bytes& text, Room room) {
        if (pair_.order == ByteOrder::swapped) {
            return throughConverters(text, room);
        }
        return pair_.form == WideForm::ucs4 ? ucs4(text, room) : utf16(text, room);
    }

private:
    struct Close {
        void operator()(UConverter* converter) const { ucnv_close(converter); }
    };

    std::size_t throughConverters(const Bytes& text, Room room) {
        UConverter* const from = pair_.fromUtf8 ? utf8_.get() : wide_.get();
        UConverter* const into = pair_.fromUtf8 ? wide_.get() : utf8_.get();
        const char* source = reinterpret_cast<const char*>(text.data());
        char* target = reinterpret_cast<char*>(room.data());
        UChar* pivotSource = pivot_.data();
        UChar* pivotTarget = pivot_.data();
        UErrorCode error = U_ZERO_ERROR;
        ucnv_convertEx(into, from, &target, target + room.size(), &source, source + text.size(), pivot_.data(),
                       &pivotSource, &pivotTarget, pivot_.data() + pivot_.size(), 1, 1, &error);
        require(U_SUCCESS(error), "ucnv_convertEx");
        return static_cast<std::size_t>(target - reinterpret_cast<char*>(room.data()));
    }

    std::size_t utf16(const Bytes& text, Room room) {
        return pair_.fromUtf8 ? 2 * toUnits(text, reinterpret_cast<UChar*>(room.data()), room.size() / 2)
                              : toUtf8(reinterpret_cast<const UChar*>(text.data()), text.size() / 2, room);
    }

    std::size_t ucs4(const Bytes& text, Room room) {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t count = 0;
        if (pair_.fromUtf8) {
            const std::size_t units = toUnits(text, pivot_.data(), pivot_.size());
            u_strToUTF32(reinterpret_cast<UChar32*>(room.data()), static_cast<std::int32_t>(room.size() / 4), &count,
                         pivot_.data(), static_cast<std::int32_t>(units), &error);
            require(error <= U_ZERO_ERROR, "u_strToUTF32");
            return 4 * static_cast<std::size_t>(count);
        }
        u_strFromUTF32(pivot_.data(), static_cast<std::int32_t>(pivot_.size()), &count,
                       reinterpret_cast<const UChar32*>(text.data()), static_cast<std::int32_t>(text.size() / 4),
                       &error);
        require(error <= U_ZERO_ERROR, "u_strFromUTF32");
        return toUtf8(pivot_.data(), static_cast<std::size_t>(count), room);
    }

    static std::size_t toUnits(const Bytes& text, UChar* units, std::size_t capacity) {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t count = 0;
        u_strFromUTF8(units, static_cast<std::int32_t>(capacity), &count, reinterpret_cast<const char*>(text.data()),
                      static_cast<std::int32_t>(text.size()), &error);
        require(error <= U_ZERO_ERROR, "u_strFromUTF8");
        return static_cast<std::size_t>(count);
    }

    static std::size_t toUtf8(const UChar* units, std::size_t count, Room room) {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t length = 0;
        u_strToUTF8(reinterpret_cast<char*>(room.data()), static_cast<std::int32_t>(room.size()), &length, units,
                    static_cast<std::int32_t>(count), &error);
        require(error <= U_ZERO_ERROR, "u_strToUTF8");
        return static_cast<std::size_t>(length);
    }

    const Pair& pair_;
    std::vector<UChar> pivot_;
    std::unique_ptr<UConverter, Close> utf8_;
    std::unique_ptr<UConverter, Close> wide_;
};

Texts sources(const Pair& pair, const TextSet& set) {
    Texts texts = TextMaker(pair.form != WideForm::ucs2).make(set);
    if (!pair.fromUtf8) {
        Bytes room(5 * 65536);
        Pair toWide = pair;
        toWide.fromUtf8 = true;
        PlainMember decoder(toWide);
        for (Bytes& text : texts) {
            text.assign(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(decoder.convert(text, room)));
        }
    }
    return texts;
}

// Texts go to places of their own, as they do in a program. In a single one it would depend on chance how it lies to
// the stack, on whose last bits processors decide whether a read has to wait for a write: for all of a run or for none.
constexpr std::size_t kPlaces = 32;
constexpr std::size_t kPlace = 272;

template <class Contender>
void convertAll(benchmark::State& state, const Pair& pair, const TextSet& set) {
    const Texts texts = sources(pair, set);
    Contender contender(pair);
    Bytes bytes(6 * 65536);
    const Room room(bytes);
    for (auto _ : state) {
        std::size_t place = 0;
        for (const Bytes& text : texts) {
            benchmark::DoNotOptimize(contender.convert(text, room.subspan(place)));
            place = (place + kPlace) % (kPlaces * kPlace);
        }
    }
    const auto calls = static_cast<double>(texts.size()) * static_cast<double>(state.iterations());
    state.counters["per_call"] = benchmark::Counter(calls, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class Contender>
void registerContender(const char* contender) {
    for (const Pair& pair : kPairs) {
        for (const TextSet& set : kTextSets) {
            const std::string name = std::string(pair.name) + "/" + set.name + "/" + contender;
            benchmark::RegisterBenchmark(name.c_str(), convertAll<Contender>, pair, set);
        }
    }
}

const bool registered = [] {
    registerContender<PlainMember>("member");
    registerContender<RefusingMember>("refusing_member");
    registerContender<Sse2Member>("sse2_member");
    registerContender<Iconv>("iconv");
    registerContender<Icu>("icu");
    return true;
}();

}  // namespace
