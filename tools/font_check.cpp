#include "font_check.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

const FcChar8* bytes_of(const char* text)
{
    return reinterpret_cast<const FcChar8*>(text);
}

std::string family_of(FcPattern* pattern, int index)
{
    FcChar8* family = nullptr;
    if (FcPatternGetString(pattern, FC_FAMILY, index, &family) != FcResultMatch)
        return "";
    return reinterpret_cast<const char*>(family);
}

bool has_family(FcPattern* pattern, const std::string& wanted)
{
    for (int i = 0; !family_of(pattern, i).empty(); ++i)
        if (FcStrCmpIgnoreCase(bytes_of(family_of(pattern, i).c_str()), bytes_of(wanted.c_str())) == 0)
            return true;
    return false;
}

/// Whether fontconfig's rules bind the family to the wanted one as firmly as that itself.
bool is_equal_alias(FcPattern* wanted, const std::string& family)
{
    FcValue value{};
    FcValueBinding binding = FcValueBindingWeak;
    for (int i = 0; FcPatternGetWithBinding(wanted, FC_FAMILY, i, &value, &binding) == FcResultMatch; ++i)
        if (binding != FcValueBindingWeak && FcStrCmpIgnoreCase(value.u.s, bytes_of(family.c_str())) == 0)
            return true;
    return false;
}

bool is_generic(std::string_view family)
{
    constexpr std::array<std::string_view, 8> names{
        "sans", "sans-serif", "serif", "monospace", "mono", "cursive", "fantasy", "system-ui"};
    return std::ranges::any_of(names, [&](auto name) { return equal_ignoring_case(name, family); });
}

chosen_font choose_font(const std::string& family)
{
    const owned_pattern wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, bytes_of(family.c_str()));
    FcPatternAddInteger(wanted.get(), FC_SLANT, FC_SLANT_ROMAN);
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, FC_WEIGHT_MEDIUM);
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    chosen_font font{.pattern = owned_pattern(FcFontMatch(nullptr, wanted.get(), &result))};
    if (!font.pattern)
        return font;
    font.family = family_of(font.pattern.get(), 0);
    font.is_installed = is_generic(family) || has_family(font.pattern.get(), family);
    font.has_same_widths = is_equal_alias(wanted.get(), font.family);
    return font;
}

} // namespace

const chosen_font& find_font(font_book& fonts, const std::string& family)
{
    const auto found = fonts.find(family);
    return found != fonts.end() ? found->second : fonts.emplace(family, choose_font(family)).first->second;
}

std::vector<std::string> missing_characters(const chosen_font& font, const std::string& text)
{
    std::vector<std::string> missing;
    FcCharSet* characters = nullptr;
    if (!font.pattern || FcPatternGetCharSet(font.pattern.get(), FC_CHARSET, 0, &characters) != FcResultMatch)
        return missing;
    for (std::size_t at = 0; at < text.size();) {
        FcChar32 character = 0;
        const int length =
            FcUtf8ToUcs4(bytes_of(text.c_str() + at), &character, static_cast<int>(text.size() - at));
        if (length <= 0)
            break;
        const std::string bytes = text.substr(at, static_cast<std::size_t>(length));
        at += static_cast<std::size_t>(length);
        if (character >= ' ' && FcCharSetHasChar(characters, character) == FcFalse
            && std::ranges::find(missing, bytes) == missing.end())
            missing.push_back(bytes);
    }
    return missing;
}
