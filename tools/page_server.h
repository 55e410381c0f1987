#pragma once

#include <cstdint>
#include <memory>
#include <string>

/// Where the page is served.
struct page_address {
    std::string address = "127.0.0.1"; ///< of this computer
    int port = 0;                      ///< 0: any free one
};

/// Serves the page to browsers over HTTP, in threads of its own: "/" is the page and "/events" tells it of
/// each new document, as server-sent events. Every other path, method and host name is refused; without a
/// name that stands for another computer's address, a page from elsewhere cannot read this one.
struct page_server;
struct page_server_releaser {
    void operator()(page_server* server) const;
};
using owned_page_server = std::unique_ptr<page_server, page_server_releaser>;

/// What went wrong, and a server when nothing did. Its end waits until no browser is being answered.
struct opened_server {
    owned_page_server server{};
    int port = 0; ///< on which it is served
    std::string error{};
};
opened_server open_page_server(const page_address& address);

/// Gives all browsers another document, an object in JSON without line breaks whose member "revision" is
/// this number.
void publish(page_server& server, std::uint64_t revision, const std::string& document);
