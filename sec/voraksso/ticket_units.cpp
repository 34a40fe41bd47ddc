#include "sec/voraksso/ticket_units.h"

#include "base/dptrc/dptrace.h"
#include "sec/voraksso/infounit.h"

namespace quorvanti {
namespace {

constexpr char kTraceUnit[] = "sec/voraksso/ssoxxext";
constexpr long kSignatureHead = 3;  // id and length

}  // namespace

bool UnitReader::next(TicketUnit& unit) {
    if (position_ >= bytes_.size()) {
        return false;
    }
    unit.id = bytes_[position_++];
    atSignature_ = unit.id == kUnitSignature;
    std::span<const std::uint8_t> contents;
    if (!readBlock(contents)) {
        atSignature_ = false;
        return false;
    }
    unit.block = {contents.data(), static_cast<std::uint32_t>(contents.size())};
    return !atSignature_;
}

bool UnitReader::readBlock(std::span<const std::uint8_t>& contents) {
    if (bytes_.size() - position_ < 2) {
        return false;
    }
    const auto length = static_cast<std::size_t>(bytes_[position_] << 8 | bytes_[position_ + 1]);
    position_ += 2;
    if (length > bytes_.size() - position_) {
        return false;
    }
    contents = bytes_.subspan(position_, length);
    position_ += length;
    return true;
}

std::size_t signedLengthOf(std::size_t decodedLength, std::size_t signatureLength) {
    const auto signature = static_cast<long>(signatureLength);
    const long length = static_cast<long>(decodedLength) - signature - kSignatureHead;
    if (length < 1) {
        TRACE_ERROR("Invalid ticket structure. RawContent length: %ld, DerSignature length: %ld.", length, signature);
        return 0;
    }
    return static_cast<std::size_t>(length);
}

}  // namespace quorvanti
