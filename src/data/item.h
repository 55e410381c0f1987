#pragma once

#include <cstdint>

/// One article on sale: a television set. Every text is an owned, zero-terminated copy made with
/// `malloc`, or null when the files gave none. The list is in the order of the article file.
struct item {
    char* code = nullptr; ///< key by which the reference file completes the article
    char* brand = nullptr;
    char* logo = nullptr; ///< path of a readable PNG file; null when the brand has none
    char* model = nullptr;
    char* price = nullptr;
    char* type = nullptr; ///< kind of screen, in lower case
    char* size = nullptr;
    char* hdmi = nullptr;          ///< number of inputs; null for none
    char* usb = nullptr;           ///< number of ports; null for none
    char* hd = nullptr;            ///< class of definition, in lower case
    std::uint8_t tuner_hd = 0;     ///< 1: the tuner receives HD
    std::uint8_t threeD_ready = 0; ///< 1: ready for 3D
    char* warranty = nullptr;
    std::int32_t channel = 0; ///< channel number of the article's service
    char* ovu = nullptr;      ///< name of the device (host) that shows the article
    item* next = nullptr;
};
