#include "tests/krn/rscp/utf_oracle.h"

#include <bit>

namespace quorvanti::utf_test {
namespace {

using Source = std::span<const std::uint8_t>;

bool highByteFirst(const Member& member) {
    return (member.order == ByteOrder::native) == (std::endian::native == std::endian::big);
}

std::size_t sequenceLength(std::uint8_t lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0 || lead > 0xFD) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : lead < 0xFC ? 5 : 6;
}

std::size_t shortestLength(std::uint32_t value) {
    return value < 0x80        ? 1
           : value < 0x800     ? 2
           : value < 0x10000   ? 3
           : value < 0x200000  ? 4
           : value < 0x4000000 ? 5
                               : 6;
}

class SlowDecoder {
public:
    SlowDecoder(const Member& member, Source source, std::size_t capacity, std::optional<std::uint32_t> substitute,
                OracleRun& run)
        : member_(member), source_(source), capacity_(capacity), substitute_(substitute), run_(run) {}

    void convert() {
        while (run_.code == 0 && run_.consumed < source_.size()) {
            character();
        }
    }

private:
    std::size_t unit() const { return member_.form == WideForm::ucs4 ? 4 : 2; }
    bool roomForAnother() const { return run_.output.size() + unit() <= capacity_; }

    void stop(std::int32_t code, const char* message) {
        run_.code = code;
        run_.message = message;
    }

    void put(std::uint32_t value) {
        for (std::size_t i = 0; i < unit(); ++i) {
            const std::size_t shift = 8 * (highByteFirst(member_) ? unit() - 1 - i : i);
            run_.output.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }

    void refuse(const char* message, std::size_t stopAfter, std::size_t resumeAfter) {
        if (!substitute_) {
            run_.consumed += stopAfter;
            stop(2048, message);
            return;
        }
        put(*substitute_);
        ++run_.substituted;
        run_.consumed += resumeAfter;
    }

    void character() {
        const std::uint8_t lead = source_[run_.consumed];
        const std::size_t length = sequenceLength(lead);
        const bool refusing = member_.controls == ControlCodes::refused;
        if (!roomForAnother()) {
            return stop(32, "dest buffer overflow");
        }
        if (length == 0) {
            return refuse("illegal start byte", 0, 1);
        }
        if (run_.consumed + length > source_.size()) {
            return stop(512, "source exhausted within a char");
        }
        std::uint32_t value = length == 1 ? lead : lead & (0x7FU >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const std::uint8_t byte = source_[run_.consumed + i];
            if (byte < 0x80 || byte > 0xBF) {
                return refuse("illegal follow-up byte", 0, 1);
            }
            value = (value << 6) | (byte & 0x3FU);
        }
        if (shortestLength(value) < length) {
            return refuse("overlong UTF-8 sequence", 0, length);
        }
        if (member_.form == WideForm::utf16 && value > 0x10FFFF) {
            return refuse("UTF-8 bejond UTF-32", length - 1, length);
        }
        if (member_.form == WideForm::ucs2 && value > 0xFFFF) {
            return refuse("UTF-8 bejond UCS-2", length - 1, length);
        }
        if (refusing && (value < 0x20 || value == 0x7F || (value > 0x80 && value < 0xA0))) {
            return refuse("control codes not allowed here", 0, length);
        }
        write(value, length);
    }

    void write(std::uint32_t value, std::size_t length) {
        if (member_.form == WideForm::utf16 && value > 0xFFFF) {
            if (run_.output.size() + 2 * unit() > capacity_) {
                return stop(32, "dest buffer overflow");
            }
            put(0xD800 + (value - 0x10000) / 0x400);
            put(0xDC00 + (value - 0x10000) % 0x400);
        } else {
            put(value);
        }
        run_.consumed += length;
    }

    const Member& member_;
    Source source_;
    std::size_t capacity_;
    std::optional<std::uint32_t> substitute_;
    OracleRun& run_;
};

class SlowEncoder {
public:
    SlowEncoder(const Member& member, Source source, std::size_t capacity, OracleRun& run)
        : member_(member), source_(source), capacity_(capacity), run_(run) {}

    void convert() {
        while (run_.code == 0 && run_.consumed < source_.size()) {
            character();
        }
    }

private:
    std::size_t unit() const { return member_.form == WideForm::ucs4 ? 4 : 2; }

    void stop(std::int32_t code, const char* message) {
        run_.code = code;
        run_.message = message;
    }

    std::optional<std::uint32_t> get(std::size_t position) const {
        if (position + unit() > source_.size()) {
            return std::nullopt;
        }
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < unit(); ++i) {
            value = value * 256 + source_[position + (highByteFirst(member_) ? i : unit() - 1 - i)];
        }
        return value;
    }

    void character() {
        const std::optional<std::uint32_t> first = get(run_.consumed);
        if (!first) {
            return stop(512, "source exhausted within a char");
        }
        if (member_.form != WideForm::utf16 || *first < 0xD800 || *first > 0xDFFF) {
            return write(*first, unit());
        }
        if (*first >= 0xDC00) {
            return stop(2048, "Half low surrogate in middle");
        }
        const std::optional<std::uint32_t> second = get(run_.consumed + unit());
        if (!second) {
            return stop(512, "Half surrogate at end");
        }
        if (*second < 0xDC00 || *second > 0xDFFF) {
            return stop(2048, "Half surrogate in middle");
        }
        write(0x10000 + (*first - 0xD800) * 0x400 + (*second - 0xDC00), 2 * unit());
    }

    void write(std::uint32_t value, std::size_t consumed) {
        const bool refusing = member_.controls == ControlCodes::refused;
        if (refusing && (value < 0x20 || (value >= 0x7F && value <= 0x9F))) {
            return stop(2048, "control code not allowed");
        }
        std::vector<std::uint8_t> bytes;
        if (value > 0x7FFFFFFF) {
            if (!refusing || member_.order == ByteOrder::native) {
                return stop(2048, "UCS-4 has only 31 bits.");
            }
            bytes = {0xFF, 0xBD};
        } else {
            const std::size_t length = shortestLength(value);
            for (std::size_t i = 1; i < length; ++i) {
                bytes.insert(bytes.begin(), static_cast<std::uint8_t>(0x80 | (value & 0x3F)));
                value >>= 6;
            }
            const std::uint32_t mark = length == 1 ? 0 : 0xFF00U >> length;
            bytes.insert(bytes.begin(), static_cast<std::uint8_t>(mark | value));
        }
        if (run_.output.size() + bytes.size() > capacity_) {
            return stop(32, "dest buffer overflow");
        }
        run_.output.insert(run_.output.end(), bytes.begin(), bytes.end());
        run_.consumed += consumed;
    }

    const Member& member_;
    Source source_;
    std::size_t capacity_;
    OracleRun& run_;
};

}  // namespace

void oracle(const Member& member, std::span<const std::uint8_t> source, std::size_t capacity,
            std::optional<std::uint32_t> substitute, OracleRun& run) {
    run.code = 0;
    run.message = "";
    run.consumed = 0;
    run.substituted = 0;
    run.output.clear();
    if (member.direction == Direction::fromUtf8) {
        SlowDecoder(member, source, capacity, substitute, run).convert();
    } else {
        SlowEncoder(member, source, capacity, run).convert();
    }
}

Outcome expected(const Member& member, const Bytes& source, std::size_t capacity,
                 std::optional<std::uint32_t> substitute) {
    OracleRun run;
    oracle(member, source, capacity, substitute, run);
    return {run.code, run.message, run.consumed, run.output, run.substituted};
}

}  // namespace quorvanti::utf_test
