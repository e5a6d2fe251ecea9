// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::tool::view {

/// Serves the page, its events and its requests on 127.0.0.1. The address contains a secret; a
/// request without it, or from a page of another host, is refused.
class HttpServer {
public:
    /// Event streams at a time; further ones are refused with 503.
    static constexpr std::size_t MOST_STREAMS = 8;
    /// Of a request, in bytes.
    static constexpr std::size_t LONGEST_BODY = 4096;

    struct Answer {
        int status = 200;
        std::string json;
    };
    /// Answers "POST set". Called on the server's threads; may block.
    using Setter = std::function<Answer(const std::string& body)>;

    /// The events of one browser. Used on one thread.
    class Events {
    public:
        Events() = default;
        virtual ~Events() = default;
        Events(const Events&) = delete;
        Events& operator=(const Events&) = delete;
        /// Waits for the next events, at most for some seconds. @return their text; empty at the
        /// end of the stream
        [[nodiscard]] virtual std::optional<std::string> next() = 0;
    };
    using MakeEvents = std::function<std::unique_ptr<Events>()>;

    /// Browsers can connect once the constructor returns.
    /// @param port  0 for any that is free
    /// @throws Failure when the port cannot be used, or this build has no HTTP server
    HttpServer(int port, Setter setter, MakeEvents makeEvents);
    /// Waits for the requests that are being answered: end their event streams before.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// "http://127.0.0.1:40123/0123456789abcdef0123456789abcdef/"
    [[nodiscard]] std::string address() const;
    [[nodiscard]] int port() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> mImplementation;
};

}  // namespace cabinaudio::tool::view
