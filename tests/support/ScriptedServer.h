// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Frame.h"

#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace cabinaudio::test {

using Bytes = std::vector<std::uint8_t>;

/// One message of a client: a registration (header alone) or a request.
struct Request {
    std::size_t client = 0;  // in the order of connecting, from 0
    audio_param header = {};
    Bytes payload;

    [[nodiscard]] bool isRegistration() const { return header.cmd == AUDIO_CMD_REGISTER; }
    [[nodiscard]] bool flag() const { return header.cmd == AUDIO_CMD_CALL_FLAG; }
    /// First word of the payload, which is where the clients put it.
    [[nodiscard]] std::uint32_t function() const { return word(0); }
    /// Little-endian word of the payload; 0 beyond its end.
    [[nodiscard]] std::uint32_t word(std::size_t index) const;
    [[nodiscard]] std::int32_t number(std::size_t index) const {
        return static_cast<std::int32_t>(word(index));
    }
    [[nodiscard]] float real(std::size_t index) const { return std::bit_cast<float>(word(index)); }
};

/// What the server does about one request. Frame header and body leave in one send unless said
/// otherwise.
class Answer {
public:
    /// A reply whose body is these words (integers, enumerators or floats).
    template <typename... Word>
    [[nodiscard]] static Answer words(Word... word) {
        Answer answer;
        (answer.appendValue(word), ...);
        return answer;
    }
    /// A reply of one word.
    [[nodiscard]] static Answer status(std::int32_t status) { return words(status); }
    /// A reply with this body.
    [[nodiscard]] static Answer bytes(Bytes body);
    /// The reply to a registration: a spare word and the handle.
    [[nodiscard]] static Answer handle(std::uint32_t handle) { return words(0, handle); }
    /// These bytes and nothing in front of them.
    [[nodiscard]] static Answer raw(Bytes bytes);
    /// Nothing: the requester keeps waiting.
    [[nodiscard]] static Answer none();
    /// Nothing, and the connection is closed.
    [[nodiscard]] static Answer close();

    /// The answer waits for release(client). One answer of a client can be held at a time.
    Answer& held();
    /// The frame header goes out at once, the body waits for release(client).
    Answer& bodyHeld();
    /// A notification in front of the reply, in the same send.
    Answer& after(std::uint32_t event, std::uint32_t param);
    /// A notification behind the reply, in the same send. The body must have the length that the
    /// client expects, or the client takes the notification for a part of it.
    Answer& then(std::uint32_t event, std::uint32_t param);
    /// The connection is closed once the answer has been sent.
    Answer& thenClose();

private:
    friend class ScriptedServer;
    enum class Hold { Nothing, All, Body };

    template <typename Word>
    void appendValue(Word word) {
        if constexpr (std::is_floating_point_v<Word>)
            appendWord(std::bit_cast<std::uint32_t>(static_cast<float>(word)));
        else
            appendWord(static_cast<std::uint32_t>(word));
    }
    void appendWord(std::uint32_t word);
    Answer& closing(bool closes);
    [[nodiscard]] Bytes head() const;
    [[nodiscard]] Bytes tail() const;

    bool mFramed = true;
    bool mClose = false;
    Hold mHold = Hold::Nothing;
    Bytes mFront;
    Bytes mBody;
    Bytes mBack;
};

/// A server for tests whose every byte is up to the test. It runs on a thread of its own, serves
/// several clients at once, records all that it receives, and answers what it was not told about
/// with a status of 0 and a registration with handle 100 + client index.
///
/// Threads   Every operation may come from any thread except from a handler, which may only use
///           the records (requests(), count()) and notify().
/// Waits     Bounded; they return false when the bound is over, and the test asserts on that.
class ScriptedServer {
public:
    /// What to answer a request; an answer stands for itself.
    struct Handler : std::function<Answer(const Request&)> {
        using function::function;
        Handler(Answer answer) : function([=](const Request&) { return answer; }) {}
    };
    using Predicate = std::function<bool(const Request&)>;
    static constexpr std::chrono::milliseconds BOUND = std::chrono::seconds(30);

    /// Listens when the constructor returns. @param path  abstract name without the leading zero
    explicit ScriptedServer(std::string path = wire::SERVER_SOCKET);
    /// Closes everything and ends the thread.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// What to do about requests of this client type with this function id; the last word counts.
    void on(std::uint32_t type, std::uint32_t function, Handler handler);
    /// The same for this function id of every type that has no rule of its own.
    void on(std::uint32_t function, Handler handler);
    /// What to do about requests without any rule.
    void onOther(Handler handler);
    void onRegistration(Handler handler);

    /// Lets one held answer of this client go; the next one when none is held at the moment.
    void release(std::size_t client = 0);

    void notify(std::uint32_t event, std::uint32_t param, std::size_t client = 0);
    /// Sends bytes as they are, in one send.
    void send(const Bytes& bytes, std::size_t client = 0);
    /// Closes one client's connection.
    void close(std::size_t client = 0);
    /// Dies: closes every connection and the listening socket.
    void stop();

    /// Stops or goes on reading this client's messages, so that its sends block.
    void pauseReading(std::size_t client = 0);
    void resumeReading(std::size_t client = 0);

    /// How many clients have connected so far, gone ones included.
    [[nodiscard]] std::size_t clients() const;
    [[nodiscard]] bool waitForClients(std::size_t count,
                                      std::chrono::milliseconds bound = BOUND) const;
    /// Waits until this client's connection has ended, from whichever side.
    [[nodiscard]] bool waitForEndOf(std::size_t client = 0,
                                    std::chrono::milliseconds bound = BOUND) const;

    /// Everything so far, in order of arrival, registrations included.
    [[nodiscard]] std::vector<Request> requests() const;
    /// Requests, without registrations, of this function id; of this type and function id.
    [[nodiscard]] std::vector<Request> requests(std::uint32_t function) const;
    [[nodiscard]] std::vector<Request> requests(std::uint32_t type, std::uint32_t function) const;
    [[nodiscard]] std::size_t count(const Predicate& predicate) const;
    /// Function ids of the requests so far, without registrations, in order of arrival.
    [[nodiscard]] std::vector<std::uint32_t> functions() const;

    /// Waits until `times` requests match. They are recorded before they are answered.
    [[nodiscard]] bool waitForRequest(const Predicate& predicate, std::size_t times = 1,
                                      std::chrono::milliseconds bound = BOUND) const;
    /// The same for requests, without registrations, of this function id.
    [[nodiscard]] bool waitForRequest(std::uint32_t function, std::size_t times = 1,
                                      std::chrono::milliseconds bound = BOUND) const;

    /// Every byte that this client has sent.
    [[nodiscard]] Bytes received(std::size_t client = 0) const;
    /// Lengths of the pieces in which they came: one number for each send of the client, as long
    /// as the client waits for an answer between them.
    [[nodiscard]] std::vector<std::size_t> pieces(std::size_t client = 0) const;

    /// A frame header as bytes, its send time the present one.
    [[nodiscard]] static Bytes frame(std::uint32_t headerId, std::uint32_t event = 0,
                                     std::uint32_t param = 0);

private:
    class Engine;
    std::unique_ptr<Engine> mEngine;
};

}  // namespace cabinaudio::test
