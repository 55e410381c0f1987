#include "article_file.h"

#include "formatted.h"
#include "near_match.h"
#include "text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string_view>

namespace {

/// What the daemon does with the pieces in which a text comes.
enum class piece_rule : std::uint8_t {
    first,       ///< the first one counts
    first_count, ///< the first one that is not "0"
    word,        ///< any one that is the word
    last,
    number, ///< the last one with a number
};

struct field_rule {
    std::string_view name;
    const char* region = "banner"; ///< that shows it
    piece_rule rule = piece_rule::first;
    std::string_view word{};
};

/// In the order of `article_field`; names count by their beginning.
constexpr field_rule field_rules[article_fields] = {
    {"model", "model"},
    {"brand", "brand"},
    {"price", "price"},
    {"type"},
    {"size"},
    {"tuner", "banner", piece_rule::word, "HD"},
    {"hdmi", "banner", piece_rule::first_count},
    {"usb", "banner", piece_rule::first_count},
    {"hd"},
    {"threeD", "banner", piece_rule::word, "READY"},
    {"warranty", "warranty"},
    {"ovu", "", piece_rule::last},
    {"channel", "", piece_rule::number},
};

constexpr std::string_view field_names[] = {"model", "brand", "price", "type", "size", "tuner", "hdmi", "usb",
    "hd", "threeD", "warranty", "ovu", "channel"};
constexpr std::string_view article_names[] = {"article"};
constexpr std::string_view code_names[] = {"code"};
constexpr std::string_view xml_blanks = " \t\r\n";
constexpr int article_depth = 2;

/// A text while its element lasts.
struct field_text {
    file_place at{};
    std::string full{};
    std::optional<std::string> kept{}; ///< what the daemon takes
    std::string cause{};               ///< what ends the first piece
    std::string reference{};           ///< of which the last piece comes; empty: of other characters
};

struct article_reader {
    XML_Parser parser = nullptr;
    const file_bytes& file;
    article_file_kind kind = article_file_kind::articles;
    const article_taker& take;
    int depth = 0;
    std::optional<article_element> article{};
    const field_rule* field = nullptr;
    field_text text{};
    article_file_frame frame{};
    finding_list findings{}; ///< of the article
};

std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = std::min(text.find_first_not_of(xml_blanks), text.size());
    return text.substr(begin, text.find_last_not_of(xml_blanks) + 1 - begin);
}

std::string on_one_line(std::string_view text)
{
    std::string line;
    for (const char character : trimmed(text)) {
        const bool blank = xml_blanks.find(character) != std::string_view::npos;
        if (!blank || !line.ends_with(' '))
            line += blank ? ' ' : character;
    }
    return line;
}

file_place place_of(const article_reader& reader)
{
    const source_position at = position_of(reader.parser, {});
    return {.line = at.line, .column = at.column};
}

void add(article_reader& reader, const file_place& at, finding found)
{
    found.at = {.file = reader.file.path, .line = at.line, .column = at.column};
    found.region = reader.field == nullptr ? "" : reader.field->region;
    (reader.article ? reader.findings : reader.frame.findings).push_back(std::move(found));
}

std::size_t byte_index(const article_reader& reader)
{
    return static_cast<std::size_t>(XML_GetCurrentByteIndex(reader.parser));
}

// Articles

/// The daemon looks at the first attribute only; in the article file, at how its name begins.
bool has_code(const article_reader& reader, const char** attributes)
{
    if (attributes[0] == nullptr)
        return false;
    const std::string_view name = attributes[0];
    return reader.kind == article_file_kind::articles ? name.starts_with("code") : name == "code";
}

void check_attributes(article_reader& reader, const char** attributes)
{
    const bool in_reference = reader.kind == article_file_kind::reference;
    const char* const then = in_reference ? "the daemon ignores the whole article"
                                          : "the reference file cannot complete the article";
    const bool is_first = has_code(reader, attributes);
    for (const char** each = attributes; !is_first && *each != nullptr; each += 2) {
        const std::string_view name = each[0];
        if (name == "code")
            return add(reader, reader.article->at,
                {.level = severity::error,
                    .kind = "code-not-first",
                    .what = formatted("\"code\" is not the first attribute: %s", then),
                    .advice =
                        formatted("write <article code=\"%s\"> and other attributes behind it", each[1])});
        if (!near_match(name, code_names).empty())
            return add(reader, reader.article->at,
                {.level = severity::error,
                    .kind = "unknown-attribute",
                    .what = formatted("unknown attribute \"%s\": %s", each[0], then),
                    .advice = "did you mean \"code\"?"});
    }
    if (!is_first || trimmed(attributes[1]).empty())
        add(reader, reader.article->at,
            {.level = in_reference ? severity::error : severity::warning,
                .kind = "no-code",
                .what = formatted("the article has no code: %s", then),
                .advice = "write <article code=\"…\">"});
}

void check_article_name(article_reader& reader, const char* name)
{
    if (std::string_view(name) != "article")
        add(reader, reader.article->at,
            {.level = severity::error,
                .kind = "inexact-name",
                .what = formatted("\"%s\" counts as one article: articles inside it are not shown", name),
                .advice = "call it \"article\"; put articles right into the first element of the file"});
}

void begin_article(article_reader& reader, const char* name, const char** attributes)
{
    reader.article = article_element{.at = place_of(reader), .begin = byte_index(reader)};
    if (has_code(reader, attributes))
        reader.article->code = attributes[1];
    check_article_name(reader, name);
    check_attributes(reader, attributes);
}

void check_host(article_reader& reader)
{
    if (reader.kind == article_file_kind::articles && reader.article->host.empty())
        add(reader, reader.article->at,
            {.level = severity::warning,
                .kind = "no-host",
                .what = "the article names no host: it is shown nowhere",
                .advice = "write <ovu>…</ovu> with the host's name"});
}

void end_article(article_reader& reader, std::size_t end)
{
    check_host(reader);
    reader.article->end = end;
    for (finding& found : reader.findings) {
        found.article = reader.article->code;
        if (reader.kind == article_file_kind::articles)
            found.host = reader.article->meant_host;
    }
    reader.take(*reader.article, reader.findings);
    reader.article.reset();
    reader.findings.clear();
}

/// An element of a name that the daemon does not know.
void report_unknown(article_reader& reader, const char* name, std::span<const std::string_view> known)
{
    const std::string_view near = near_match(name, known);
    add(reader, place_of(reader),
        {.level = near.empty() ? severity::warning : severity::error,
            .kind = "unknown-element",
            .what = formatted("unknown element \"%s\": it is not shown, nor anything inside it", name),
            .advice = near.empty() ? "known here: " + list_of(known)
                                   : formatted("did you mean \"%s\"?", std::string(near).c_str())});
}

// Texts

/// A name that only begins as the field's does counts as well; perhaps another field was meant.
void check_field_name(article_reader& reader, std::string_view name)
{
    const std::string_view field = reader.field->name;
    if (name == field)
        return;
    const std::string_view near = near_match(name, field_names);
    const bool is_other = !near.empty() && near != field;
    add(reader, reader.text.at,
        {.level = is_other ? severity::error : severity::warning,
            .kind = "inexact-name",
            .what = formatted(R"("%s" counts as "%s": names count by their beginning)",
                std::string(name).c_str(), field.data()),
            .advice = is_other
                ? formatted("did you mean \"%s\"?", near.data())
                : formatted("write \"%s\", or begin a name of your own with other letters", field.data())});
}

void begin_field(article_reader& reader, const char* name)
{
    const std::string_view element = name;
    const auto* const rule = std::ranges::find_if(
        field_rules, [&](const field_rule& each) { return element.starts_with(each.name); });
    if (rule != std::end(field_rules)) {
        reader.field = rule;
        reader.text = {.at = place_of(reader)};
        check_field_name(reader, element);
    } else if (element.starts_with("article"))
        add(reader, place_of(reader),
            {.level = severity::error,
                .kind = "nested-article",
                .what = "an article inside another element is not shown",
                .advice = "put articles right into the first element of the file"});
    else
        report_unknown(reader, name, field_names);
}

/// The character reference that stands where the piece begins; empty when none does. In UTF-16 there is a
/// zero beside each ASCII character.
std::string reference_here(const article_reader& reader)
{
    constexpr std::size_t longest_reference = 24;
    std::string written =
        reader.file.bytes.substr(std::min(byte_index(reader), reader.file.bytes.size()), longest_reference);
    std::erase(written, '\0');
    const auto end = std::ranges::find_if(written, [](unsigned char character) {
        return std::isalnum(character) == 0 && character != '&' && character != '#';
    });
    const bool is_one = written.starts_with('&') && end != written.end() && *end == ';';
    return is_one ? std::string(written.begin(), end + 1) : "";
}

/// What makes expat hand over a piece for itself.
std::string cause_of(std::string_view piece, const std::string& reference, const std::string& before)
{
    return piece == "\n"     ? "at the line break"
        : !reference.empty() ? "at \"" + reference + "\""
        : !before.empty()    ? "behind \"" + before + "\""
                             : "at a tag, a comment or a CDATA section";
}

void take_piece(article_reader& reader, std::string_view piece)
{
    field_text& text = reader.text;
    text.full += piece;
    const bool had_piece = text.kept.has_value();
    const std::string reference = reference_here(reader);
    if (had_piece && text.cause.empty())
        text.cause = cause_of(piece, reference, text.reference);
    text.reference = reference;
    const bool counts = [&] {
        switch (reader.field->rule) {
        case piece_rule::first:
            return !had_piece;
        case piece_rule::first_count:
            return !had_piece && piece != "0";
        case piece_rule::word:
            return !had_piece && equal_ignoring_case(piece, reader.field->word);
        case piece_rule::number:
            return parse_decimal(piece).has_value();
        default:
            return true;
        }
    }();
    if (counts)
        text.kept = piece;
}

void check_first_piece(article_reader& reader)
{
    const field_text& text = reader.text;
    if (!text.kept)
        return;
    const std::string line = on_one_line(text.full);
    const std::string name(reader.field->name);
    if (line.empty())
        return add(reader, text.at,
            {.level = severity::warning,
                .kind = "blank-text",
                .what = formatted("\"%s\" holds only blanks: viewers see none", name.c_str()),
                .advice = "write the text, or leave the element out"});
    if (on_one_line(*text.kept) == line)
        return;
    const bool plain = line.find_first_of("&<") == std::string::npos;
    add(reader, text.at,
        {.level = severity::error,
            .kind = "text-ends-early",
            .what = trimmed(*text.kept).empty()
                ? formatted("viewers see a box instead of \"%s\": the text ends %s before it", line.c_str(),
                    text.cause.empty() || *text.kept == "\n" ? "at the line break" : text.cause.c_str())
                : formatted(R"(viewers see only "%s" of "%s": the text ends %s)",
                    on_one_line(*text.kept).c_str(), line.c_str(), text.cause.c_str()),
            .advice = plain
                ? formatted("write <%s>%s</%s>, in one piece", name.c_str(), line.c_str(), name.c_str())
                : formatted("write <%s><![CDATA[%s]]></%s>", name.c_str(), line.c_str(), name.c_str()),
            .same = trimmed(*text.kept).empty() ? "box" : "part"});
}

/// Whether the word is one of those of the text, in any letter case.
bool has_word(const std::string& text, std::string_view word)
{
    std::string words = text;
    std::ranges::replace_if(
        words, [](unsigned char character) { return character < 0x80 && std::isalnum(character) == 0; }, ' ');
    std::istringstream stream(words);
    for (std::string each; stream >> each;)
        if (equal_ignoring_case(each, word))
            return true;
    return false;
}

/// Another word leaves the icon out, which is often meant so.
void check_word(article_reader& reader)
{
    constexpr std::string_view affirmations[] = {"yes", "oui", "true", "1"};
    const std::string written = on_one_line(reader.text.full);
    const std::string_view word = reader.field->word;
    const bool is_word = equal_ignoring_case(written, word);
    const bool is_meant = is_word
        || std::ranges::any_of(affirmations, [&](auto each) { return equal_ignoring_case(written, each); })
        || (word.size() > 4 && !near_match(written, std::span(&word, 1)).empty());
    if (reader.text.kept || !(is_meant || has_word(written, word)))
        return;
    const bool is_whole = is_word && reader.text.full == written;
    add(reader, reader.text.at,
        {.level = is_meant ? severity::error : severity::warning,
            .kind = "not-the-word",
            .what = is_whole ? formatted("\"%s\" comes in pieces: no icon is shown", written.c_str())
                : is_word
                ? formatted("\"%s\" has blanks around it: no icon is shown", reader.text.full.c_str())
                : formatted(R"("%s" is not "%s": no icon is shown)", written.c_str(), word.data()),
            .advice = formatted("write <%s>%s</%s>, in one piece and without blanks",
                reader.field->name.data(), word.data(), reader.field->name.data()),
            .same = "word"});
}

void check_ovu(article_reader& reader)
{
    if (reader.kind == article_file_kind::reference)
        return add(reader, reader.text.at,
            {.level = severity::warning,
                .kind = "host-without-effect",
                .what = "a host (ovu) in the reference file does not change where the article is shown",
                .advice = "write it into the article file"});
    const std::string meant = on_one_line(reader.text.full);
    if (!reader.text.kept)
        return;
    reader.article->host = *reader.text.kept;
    reader.article->meant_host = meant;
    if (reader.article->host != meant)
        add(reader, reader.text.at,
            {.level = severity::error,
                .kind = "wrong-host",
                .what = formatted(R"(the host counts as "%s", not as "%s": the article is shown nowhere)",
                    reader.article->host.c_str(), meant.c_str()),
                .advice = formatted("write <ovu>%s</ovu>, on one line and without blanks", meant.c_str()),
                .same = "host"});
}

/// What is wrong with a channel of which the daemon takes the piece that was kept; nothing if it counts as
/// written.
std::optional<finding> channel_finding(const std::string& written, std::string_view kept)
{
    const std::int32_t taken = parse_decimal(kept).value_or(0);
    const std::string what = formatted("the channel \"%s\" counts as %d", written.c_str(), taken);
    const std::size_t sign = written.starts_with('-') ? 1 : 0;
    if (written.find_first_not_of("0123456789", sign) != std::string::npos)
        return finding{.level = parse_decimal(written) == taken ? severity::warning : severity::error,
            .kind = "channel-odd-number",
            .what = what,
            .advice = "write a number from 1 to 1023, in digits alone",
            .same = "number"};
    if (taken == std::strtoll(written.c_str(), nullptr, 10))
        return std::nullopt;
    return finding{.level = severity::error,
        .kind = "channel-out-of-range",
        .what = what,
        .advice = "write a number from 1 to 1023, in one piece",
        .same = "another"};
}

/// A channel that is no number leaves the one before it.
finding no_channel_finding(const std::string& written, bool has_another)
{
    return {.level = severity::error,
        .kind = "channel-no-number",
        .what = formatted("the channel \"%s\" is not a number: %s", written.c_str(),
            has_another ? "the one before it counts" : "the service has no place in the channel list"),
        .advice = "write a number from 1 to 1023, in digits",
        .same = has_another ? "another" : "none"};
}

void check_number(article_reader& reader)
{
    const std::string written = on_one_line(reader.text.full);
    if (written.empty())
        return;
    article_element& article = *reader.article;
    const bool has_another = article[article_field::channel].line != 0 && !article.has_bad_channel;
    std::optional<finding> found = reader.text.kept ? channel_finding(written, *reader.text.kept)
                                                    : no_channel_finding(written, has_another);
    article.has_bad_channel =
        reader.text.kept ? found && found->kind == "channel-out-of-range" : !has_another;
    if (found)
        add(reader, reader.text.at, std::move(*found));
}

void check_text(article_reader& reader)
{
    switch (reader.field->rule) {
    case piece_rule::word:
        return check_word(reader);
    case piece_rule::last:
        return check_ovu(reader);
    case piece_rule::number:
        return check_number(reader);
    default:
        return check_first_piece(reader);
    }
}

void end_field(article_reader& reader)
{
    check_text(reader);
    file_place& kept = reader.article->fields[static_cast<std::size_t>(reader.field - field_rules)];
    const bool last_counts =
        reader.field->rule == piece_rule::last || reader.field->rule == piece_rule::number;
    if (kept.line != 0 && reader.text.kept)
        add(reader, reader.text.at,
            {.level = severity::warning,
                .kind = "double-element",
                .what = formatted("\"%s\" comes twice in the article: %s one counts",
                    reader.field->name.data(), last_counts ? "this" : "the first"),
                .advice = "leave one of them out"});
    // A channel that is no number has been told of, and is not missing as well.
    const bool counts = reader.text.kept || (last_counts && !trimmed(reader.text.full).empty());
    if (counts && (kept.line == 0 || (last_counts && reader.text.kept)))
        kept = reader.text.at;
    reader.field = nullptr;
}

// Expat's handlers

void start_element(void* user_data, const char* name, const char** attributes)
{
    auto& reader = *static_cast<article_reader*>(user_data);
    ++reader.depth;
    if (reader.depth == 1)
        reader.frame.head_end =
            byte_index(reader) + static_cast<std::size_t>(XML_GetCurrentByteCount(reader.parser));
    else if (reader.depth == article_depth && std::string_view(name).starts_with("article"))
        begin_article(reader, name, attributes);
    else if (reader.depth == article_depth)
        report_unknown(reader, name, article_names);
    else if (reader.depth == article_depth + 1 && reader.article)
        begin_field(reader, name);
    else if (reader.field != nullptr)
        add(reader, place_of(reader),
            {.level = severity::warning,
                .kind = "element-in-text",
                .what = formatted("the element \"%s\" inside a text is ignored; what it holds is a piece of "
                                  "the text",
                    name),
                .advice = "write the text alone"});
}

void end_element(void* user_data, const char* /*name*/)
{
    auto& reader = *static_cast<article_reader*>(user_data);
    if (reader.depth == article_depth + 1 && reader.field != nullptr)
        end_field(reader);
    else if (reader.depth == article_depth && reader.article)
        end_article(
            reader, byte_index(reader) + static_cast<std::size_t>(XML_GetCurrentByteCount(reader.parser)));
    else if (reader.depth == 1)
        reader.frame.tail_begin = byte_index(reader);
    --reader.depth;
}

void character_data(void* user_data, const char* text, int length)
{
    auto& reader = *static_cast<article_reader*>(user_data);
    if (reader.field != nullptr)
        take_piece(reader, {text, static_cast<std::size_t>(length)});
}

} // namespace

article_file_frame read_articles(const file_bytes& file, article_file_kind kind, const article_taker& take)
{
    article_reader reader{.file = file, .kind = kind, .take = take};
    reader.frame.tail_begin = file.bytes.size();
    const finding_list errors = parse_bytes(file, [&](XML_Parser parser) {
        reader.parser = parser;
        XML_SetUserData(parser, &reader);
        XML_SetElementHandler(parser, start_element, end_element);
        XML_SetCharacterDataHandler(parser, character_data);
    });
    if (reader.article) // in which the file breaks off
        end_article(reader, file.bytes.size());
    reader.frame.findings.insert(reader.frame.findings.end(), errors.begin(), errors.end());
    return reader.frame;
}
