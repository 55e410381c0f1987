#include "settings.h"

#include "text.h"

#include <cstdlib>

std::optional<std::string_view> text_setting(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? std::optional<std::string_view>(value) : std::nullopt;
}

std::int32_t number_setting(const char* name)
{
    return parse_decimal(text_setting(name).value_or("")).value_or(0);
}

std::uint16_t u16_setting(const char* name)
{
    return static_cast<std::uint16_t>(number_setting(name));
}

bool setting_equals(const char* name, std::string_view value)
{
    return text_setting(name) == value;
}

std::string_view name_setting(const char* name, std::size_t max_bytes, std::string_view when_unset)
{
    const auto value = text_setting(name);
    return value ? value->substr(0, max_bytes) : when_unset;
}
