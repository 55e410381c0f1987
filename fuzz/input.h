#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// How the targets read what libFuzzer gives them. Behind the end of an input everything is empty or 0.

/// The bytes of an input as text.
std::string_view text_of(std::span<const std::uint8_t> input);

/// Takes the text before the next `separator`, and the separator, from the front of `rest`.
std::string_view take_until(std::string_view& rest, char separator);

/// Texts that make up one input are parted by form feeds: no XML file may hold one.
inline constexpr char form_feed = '\f';

/// Each takes a big-endian number from the front of the bytes.
std::uint32_t take_u8(std::span<const std::uint8_t>& rest);
std::uint32_t take_u16(std::span<const std::uint8_t>& rest);
std::uint32_t take_u32(std::span<const std::uint8_t>& rest);
std::int32_t take_s16(std::span<const std::uint8_t>& rest);

/// Takes as many bytes, or as many as there are.
std::span<const std::uint8_t> take_bytes(std::span<const std::uint8_t>& rest, std::size_t count);

/// What must hold for every input; aborts, and so tells libFuzzer, when it does not.
void require(bool holds);
