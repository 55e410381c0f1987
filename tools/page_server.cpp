#include "page_server.h"

#include "page.h"
#include "text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <httplib.h>
#include <mutex>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t threads = 24;
constexpr int streams_max = 20; ///< each keeps a thread; the others answer who comes next
constexpr auto sign_of_life = std::chrono::seconds(2);
constexpr int status_bad_request = 400;
constexpr int status_forbidden = 403;
constexpr int status_not_found = 404;
constexpr int status_method_not_allowed = 405;
constexpr int status_unavailable = 503;

/// The document, and who waits for another one.
struct board {
    std::mutex mutex{};
    std::condition_variable changed{};
    std::uint64_t revision = 0;
    std::string document{};
    bool is_ending = false;
    std::atomic<int> streams = 0;
};

/// "shop:8090" without its port, in small letters and without the dot of a full name; brackets of an IPv6
/// address go too. Empty when it is none of these.
std::string host_without_port(std::string host)
{
    const bool is_bracketed = host.starts_with('[');
    const std::size_t end = is_bracketed ? host.find(']') : std::min(host.find(':'), host.size());
    if (end == std::string::npos)
        return "";
    const std::string port = host.substr(end + (is_bracketed ? 1 : 0));
    if (!port.empty() && (port[0] != ':' || port.find_first_not_of("0123456789", 1) != std::string::npos))
        return "";
    host = host.substr(0, end).substr(is_bracketed ? 1 : 0);
    std::ranges::transform(host, host.begin(), ascii_lower);
    if (host.ends_with('.'))
        host.pop_back();
    return host;
}

/// The bytes of an IP address, so that all ways to write it are one; nothing of what is none.
std::vector<unsigned char> ip_address(const std::string& host)
{
    std::vector<unsigned char> address(sizeof(in6_addr));
    if (inet_pton(AF_INET6, host.c_str(), address.data()) == 1)
        return address;
    address.resize(sizeof(in_addr));
    return inet_pton(AF_INET, host.c_str(), address.data()) == 1 ? address : std::vector<unsigned char>{};
}

std::string name_of_this_computer()
{
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

/// A name that somebody else owns may be made to stand for this computer; an address may not. One that is not
/// the server's is of use where it serves on all.
bool is_ours(const std::string& host, const std::string& address)
{
    const std::string name = host_without_port(host);
    const auto served = ip_address(address);
    const bool is_of_all = std::ranges::all_of(served, [](unsigned char byte) { return byte == 0; });
    if (const auto asked = ip_address(name); !asked.empty())
        return is_of_all || asked == served;
    return name == "localhost" || equal_ignoring_case(name, address)
        || (address != "127.0.0.1" && !name.empty() && equal_ignoring_case(name, name_of_this_computer()));
}

/// Whether a page of another site asks, or leads here. Browsers tell of the latter to this computer alone.
bool is_foreign(const httplib::Request& request)
{
    const std::string origin = request.get_header_value("Origin");
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    return (!origin.empty() && origin != "http://" + request.get_header_value("Host"))
        || (!site.empty() && site != "same-origin" && site != "none");
}

int refusal_of(const httplib::Request& request, const std::string& address)
{
    if (request.get_header_value_count("Host") != 1)
        return status_bad_request;
    if (!is_ours(request.get_header_value("Host"), address) || is_foreign(request))
        return status_forbidden;
    if (request.method != "GET" && request.method != "HEAD")
        return status_method_not_allowed;
    return request.path == "/" || request.path == "/events" ? 0 : status_not_found;
}

const char* reason_of(int status)
{
    return status == status_bad_request       ? "which host?\n"
        : status == status_forbidden          ? "not for this host name, nor from the pages of another site\n"
        : status == status_method_not_allowed ? "only GET and HEAD\n"
                                              : "only the page is here\n";
}

httplib::Headers common_headers()
{
    return {{"Cache-Control", "no-store"}, {"X-Content-Type-Options", "nosniff"}, {"X-Frame-Options", "DENY"},
        {"Referrer-Policy", "no-referrer"}, {"Cross-Origin-Resource-Policy", "same-origin"}};
}

/// Only one server can have the port: the library would let two share it.
void set_socket_options(socket_t socket)
{
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

std::uint64_t number_in(const std::string& text)
{
    return std::strtoull(text.c_str(), nullptr, 10);
}

/// Which document the browser has.
std::uint64_t revision_at(const httplib::Request& request)
{
    const std::string last = request.get_header_value("Last-Event-ID");
    return number_in(last.empty() ? request.get_param_value("after") : last);
}

/// Waits for a document other than that revision. Returns what to send: the document, or a sign of life.
std::string next_event(board& shown, std::uint64_t& revision)
{
    std::unique_lock lock(shown.mutex);
    shown.changed.wait_for(lock, sign_of_life, [&] { return shown.is_ending || shown.revision != revision; });
    if (shown.revision == revision)
        return ":\n\n";
    revision = shown.revision;
    return "id: " + std::to_string(revision) + "\ndata: " + shown.document + "\n\n";
}

bool is_ending(board& shown)
{
    const std::lock_guard lock(shown.mutex);
    return shown.is_ending;
}

void answer_events(board& shown, const httplib::Request& request, httplib::Response& response)
{
    if (++shown.streams > streams_max) {
        --shown.streams;
        response.status = status_unavailable;
        response.set_content("too many pages are open\n", "text/plain");
        return;
    }
    response.set_chunked_content_provider(
        "text/event-stream",
        [&shown, revision = revision_at(request)](std::size_t /*offset*/, httplib::DataSink& sink) mutable {
            const std::string event = next_event(shown, revision);
            if (is_ending(shown))
                return false;
            return sink.write(event.data(), event.size());
        },
        [&shown](bool /*success*/) { --shown.streams; });
}

} // namespace

struct page_server {
    page_address address{};
    board shown{};
    httplib::Server http{};
    std::thread listener{};
};

namespace {

void set_routes(page_server& server)
{
    server.http.set_pre_routing_handler(
        [&server](const httplib::Request& request, httplib::Response& response) {
            const int refusal = refusal_of(request, server.address.address);
            if (refusal == 0)
                return httplib::Server::HandlerResponse::Unhandled;
            response.status = refusal;
            if (refusal == status_method_not_allowed)
                response.set_header("Allow", "GET, HEAD");
            response.set_content(reason_of(refusal), "text/plain");
            return httplib::Server::HandlerResponse::Handled;
        });
    server.http.Get("/", [&server](const httplib::Request& /*request*/, httplib::Response& response) {
        std::unique_lock lock(server.shown.mutex);
        server.shown.changed.wait(lock, [&] { return server.shown.revision != 0 || server.shown.is_ending; });
        response.set_content(page_html(server.shown.document), "text/html; charset=utf-8");
    });
    server.http.Get("/events", [&server](const httplib::Request& request, httplib::Response& response) {
        answer_events(server.shown, request, response);
    });
}

void set_limits(httplib::Server& http)
{
    http.set_default_headers(common_headers());
    http.set_socket_options(set_socket_options);
    http.set_payload_max_length(0);
    http.set_tcp_nodelay(true);
    http.new_task_queue = [] { return new httplib::ThreadPool(threads); }; // the library deletes it
}

} // namespace

void page_server_releaser::operator()(page_server* server) const
{
    {
        const std::lock_guard lock(server->shown.mutex);
        server->shown.is_ending = true;
    }
    server->shown.changed.notify_all();
    server->http.stop();
    if (server->listener.joinable())
        server->listener.join();
    delete server;
}

opened_server open_page_server(const page_address& address)
{
    opened_server opened{.server = owned_page_server(new page_server{.address = address})};
    page_server& server = *opened.server;
    set_limits(server.http);
    set_routes(server);
    opened.port = address.port == 0 ? server.http.bind_to_any_port(address.address)
        : server.http.bind_to_port(address.address, address.port) ? address.port
                                                                  : -1;
    if (opened.port < 0) {
        opened.error = "cannot serve on port " + std::to_string(address.port) + " of " + address.address
            + ": it is in use, or no address of this computer";
        return opened;
    }
    server.listener = std::thread([&server] { server.http.listen_after_bind(); });
    while (!server.http.is_running()) // the library cannot be stopped before
        std::this_thread::yield();
    return opened;
}

void publish(page_server& server, std::uint64_t revision, const std::string& document)
{
    {
        const std::lock_guard lock(server.shown.mutex);
        server.shown.revision = revision;
        server.shown.document = document;
    }
    server.shown.changed.notify_all();
}
