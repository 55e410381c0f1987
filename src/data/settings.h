#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

// Settings are environment variables, looked up at every call. Texts that come back are borrowed
// from the environment: they hold until it is changed, and a zero byte follows the whole value.

/// Settings that go into more than one table.
inline constexpr const char* service_id_setting = "PREF_SYSTEM_ENCODER_1_SERVICE_ID";
inline constexpr const char* ts_id_setting = "PREF_SYSTEM_ENCODER_1_TS_ID";
inline constexpr const char* network_id_setting = "PREF_SYSTEM_ENCODER_1_NETWORK_ID";

/// The value as it stands; nothing when the variable is not set.
[[nodiscard]] std::optional<std::string_view> text_setting(const char* name);

/// The number at the front of the value; 0 when the variable is not set or no digit comes first.
/// A number that does not fit counts as `parse_decimal` has it.
[[nodiscard]] std::int32_t number_setting(const char* name);

/// The low 16 bits of that number: no field of the tables carries more.
[[nodiscard]] std::uint16_t u16_setting(const char* name);

/// Whether the variable is set to exactly `value`.
[[nodiscard]] bool setting_equals(const char* name, std::string_view value);

/// The first `max_bytes` bytes of the value, all of it when it is shorter, `when_unset` when the
/// variable is not set. A variable that is set but empty gives an empty name.
[[nodiscard]] std::string_view name_setting(
    const char* name, std::size_t max_bytes, std::string_view when_unset = " ");
