#pragma once

#include "finding.h"
#include "xml_positions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// What an article can hold, in the order in which the daemon tries the names.
enum class article_field : std::uint8_t {
    model,
    brand,
    price,
    type,
    size,
    tuner,
    hdmi,
    usb,
    hd,
    threeD,
    warranty,
    ovu,
    channel,
};
inline constexpr std::size_t article_fields = 13;

/// Where something begins in its file; line 0: it is not there.
struct file_place {
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

/// An article of the article or the reference file, without its texts.
struct article_element {
    file_place at{};
    std::size_t begin = 0; ///< its bytes in the file
    std::size_t end = 0;
    std::string code{};                              ///< empty: none
    std::string host{};                              ///< `ovu` as the daemon takes it; empty: none
    std::string meant_host{};                        ///< and as it was probably meant
    bool has_bad_channel = false;                    ///< told of: no number, or beyond 32 bits
    std::array<file_place, article_fields> fields{}; ///< the elements whose texts count

    [[nodiscard]] const file_place& operator[](article_field field) const
    {
        return fields[static_cast<std::size_t>(field)];
    }
};

enum class article_file_kind : std::uint8_t { articles, reference };

/// Where the articles begin and end in a file.
struct article_file_frame {
    std::size_t head_end = 0;   ///< behind the tag of the root element
    std::size_t tail_begin = 0; ///< of the root's end tag; where it is missing, the end of the file
    finding_list findings{};    ///< about no article
};

/// Gets each article with what is wrong with it.
using article_taker = std::function<void(const article_element& article, const finding_list& findings)>;

/// Reads the articles as the daemon does and finds what of them it will not show as they are written: names
/// that it does not know, texts of which it takes one piece only, attributes out of place. Codes of articles
/// and, in the article file, hosts are in their findings.
article_file_frame read_articles(const file_bytes& file, article_file_kind kind, const article_taker& take);
