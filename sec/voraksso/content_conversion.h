// Converts the texts of a ticket between code pages.
#pragma once

#include "sec/voraksso/infounit.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace quorvanti {

// Four characters each. Converts the units whose contents are in the ticket's code page; the others stay as they are.
// 0, or the code of the first unit that failed; those after it stay unconverted.
std::int32_t ConvertContentList(std::string_view source, std::string_view target, ContentList& contents);
// 0, or 9.
std::int32_t ConvertContentNode(std::string_view source, std::string_view target, ContentNode& node);

inline constexpr std::int32_t kConverterStartFailed = -1;
inline constexpr std::int32_t kConverterActivationFailed = -2;
inline constexpr std::int32_t kConverterNoMemory = -3;
inline constexpr std::int32_t kConversionFailed = -4;
// Converts into `target` and reports the bytes written; source and target must not overlap. Takes the conversion lock.
std::int32_t ConvertText(std::span<std::uint8_t> target, std::span<const std::uint8_t> source,
                         std::string_view targetCodePage, std::string_view sourceCodePage, std::uint32_t* converted);

// A node with the text in UTF-8, up to its first zero byte: 0, or -1.
std::int32_t NewUtf8ContentNode(std::unique_ptr<ContentNode>& node, std::span<const std::uint8_t> text,
                                std::uint32_t id, std::string_view sourceCodePage);

// Writes the bytes at trace level 3, 16 a line. Unlike the trace's own dump it writes no line for no bytes.
void TraceHexDump(const void* data, std::size_t length);

}  // namespace quorvanti
