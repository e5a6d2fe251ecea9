// SPDX-License-Identifier: Apache-2.0
#include "tools/view/HttpServer.h"

#include "tools/Failure.h"
#include "tools/view/Assets.h"

#include <httplib.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>

namespace cabinaudio::tool::view {

namespace {

constexpr char HOST[] = "127.0.0.1";
constexpr std::size_t TOKEN_BYTES = 16;

// Each event stream occupies a thread, and so does a connection on which a browser asks nothing.
constexpr std::size_t THREADS = HttpServer::MOST_STREAMS + 16;
constexpr std::time_t PATIENCE_SECONDS = 2;

std::string randomToken() {
    std::array<std::uint8_t, TOKEN_BYTES> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw Failure(std::string("no random numbers: ") + std::strerror(errno));
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {DIGITS[byte >> 4U], DIGITS[byte & 15U]};
    return text;
}

/// Takes the same time wherever the texts differ.
bool isSame(const std::string& left, const std::string& right) {
    if (left.size() != right.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned>(left[i] ^ right[i]);
    return difference == 0;
}

const httplib::Headers& commonHeaders() {
    static const httplib::Headers headers = {
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
         "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Cache-Control", "no-store"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "DENY"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"}};
    return headers;
}

}  // namespace

class HttpServer::Implementation {
public:
    Implementation(int port, Setter setter, MakeEvents makeEvents)
        : mToken(randomToken()), mSetter(std::move(setter)), mMakeEvents(std::move(makeEvents)) {
        configure();
        mPort = bind(port);
        mHosts = {std::string(HOST) + ":" + std::to_string(mPort),
                  "localhost:" + std::to_string(mPort)};
        mThread = std::thread([this] { mServer.listen_after_bind(); });
        // A stop before the loop runs would be lost.
        while (!mServer.is_running())
            std::this_thread::yield();
    }

    ~Implementation() {
        mServer.stop();
        mThread.join();
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    [[nodiscard]] std::string address() const { return "http://" + mHosts[0] + "/" + mToken + "/"; }
    [[nodiscard]] int port() const { return mPort; }

private:
    using Handled = httplib::Server::HandlerResponse;

    void configure() {
        mServer.new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
        // The library's own options would share the port with other processes.
        mServer.set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        mServer.set_tcp_nodelay(true);
        mServer.set_keep_alive_max_count(1);
        mServer.set_keep_alive_timeout(PATIENCE_SECONDS);
        mServer.set_read_timeout(PATIENCE_SECONDS);
        mServer.set_write_timeout(PATIENCE_SECONDS);
        mServer.set_payload_max_length(LONGEST_BODY);
        mServer.set_default_headers(commonHeaders());
        mServer.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response) {
                return isAllowed(request, response) ? Handled::Unhandled : Handled::Handled;
            });
        mServer.Get(".*", [this](const auto& request, auto& response) { get(request, response); });
        mServer.Post(".*",
                     [this](const auto& request, auto& response) { post(request, response); });
    }

    int bind(int port) {
        if (port == 0)
            port = mServer.bind_to_any_port(HOST);
        else if (!mServer.bind_to_port(HOST, port))
            port = -1;
        if (port < 0)
            throw Failure(std::string("the port cannot be used: ") + std::strerror(errno));
        return port;
    }

    /// Before the body is read.
    [[nodiscard]] bool isAllowed(const httplib::Request& request,
                                 httplib::Response& response) const {
        const auto isOwn = [this](const std::string& host) {
            return std::find(mHosts.begin(), mHosts.end(), host) != mHosts.end();
        };
        constexpr char SCHEME[] = "http://";
        const std::string origin = request.get_header_value("Origin");
        const bool isOwnOrigin =
            !request.has_header("Origin") ||
            (origin.starts_with(SCHEME) && isOwn(origin.substr(sizeof SCHEME - 1)));
        if (request.get_header_value_count("Host") != 1 ||
            !isOwn(request.get_header_value("Host")) || !isOwnOrigin ||
            request.get_header_value_count("Origin") > 1)
            response.status = 403;
        else if (!isSame(request.path.substr(0, mToken.size() + 2), "/" + mToken + "/") ||
                 (request.method != "GET" && request.method != "POST"))
            response.status = 404;
        else
            return true;
        return false;
    }

    /// Behind the secret.
    [[nodiscard]] std::string nameIn(const httplib::Request& request) const {
        return request.path.substr(mToken.size() + 2);
    }

    void get(const httplib::Request& request, httplib::Response& response) {
        std::string name = nameIn(request);
        if (name == "events") return stream(response);
        if (name.empty()) name = "index.html";
        const std::span<const Asset> all = assets();
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const Asset& asset) { return asset.name == name; });
        if (found == all.end()) {
            response.status = 404;
            return;
        }
        response.set_content(found->content.data(), found->content.size(), mediaTypeOf(name));
    }

    void post(const httplib::Request& request, httplib::Response& response) {
        // A form of another page cannot have this type.
        if (nameIn(request) != "set") {
            response.status = 404;
        } else if (!request.get_header_value("Content-Type").starts_with("application/json")) {
            response.status = 415;
        } else {
            const Answer answer = mSetter(request.body);
            response.status = answer.status;
            response.set_content(answer.json, "application/json");
        }
    }

    void stream(httplib::Response& response) {
        if (mStreams.fetch_add(1) >= MOST_STREAMS) {
            --mStreams;
            response.status = 503;
            return;
        }
        std::shared_ptr<Events> events = mMakeEvents();
        response.set_chunked_content_provider(
            "text/event-stream",
            [events](std::size_t, httplib::DataSink& sink) {
                const std::optional<std::string> text = events->next();
                if (!text) {
                    sink.done();
                    return true;
                }
                // A browser that does not read is dropped when the write times out.
                return sink.write(text->data(), text->size());
            },
            [this](bool) { --mStreams; });
    }

    const std::string mToken;
    const Setter mSetter;
    const MakeEvents mMakeEvents;
    int mPort = 0;
    std::array<std::string, 2> mHosts;
    std::atomic<std::size_t> mStreams{0};
    httplib::Server mServer;
    std::thread mThread;
};

HttpServer::HttpServer(int port, Setter setter, MakeEvents makeEvents)
    : mImplementation(
          std::make_unique<Implementation>(port, std::move(setter), std::move(makeEvents))) {}

HttpServer::~HttpServer() = default;

std::string HttpServer::address() const {
    return mImplementation->address();
}

int HttpServer::port() const {
    return mImplementation->port();
}

}  // namespace cabinaudio::tool::view
