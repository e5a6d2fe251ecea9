// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/clients/Listener.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// Accepts commands to the running server: one line each, answered by one line, in order. A
/// connection that does not take its answer is not read further. One line of all connections is
/// answered per turn of the event loop, after its clocks: an answer takes longer than a client's
/// message.
class ControlSocket {
public:
    /// Abstract name, without the leading zero byte.
    static constexpr char NAME[] = "/tmp/cabinaudio_control";
    /// Longer lines end the connection.
    static constexpr std::size_t MAXIMUM_LINE = 4096;
    /// Seconds allowed for the rest of a line, and for taking an answer.
    static constexpr int PATIENCE = 10;

    /// Sends an answer, without the line end. Called once; the connection may be gone.
    using Later = std::function<void(std::string answer)>;
    /// Receives a line, without the line end. The connection's next line is read after the answer.
    using Handler = std::function<void(const std::string& line, const Later& later)>;

    /// Is offered a line with its connection before the handler is. @return whether it has taken
    /// the connection, and answers itself
    using Taker =
        std::function<bool(const std::string& line, UniqueFd& socket, Admitted& admitted)>;

    /// @param onClosed  called when a descriptor has become free
    /// @throws std::system_error
    ControlSocket(EventLoop& loop, Admission& admission, Handler handler,
                  std::function<void()> onClosed);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// Takers are asked in the order of these calls.
    void addTaker(Taker taker) { mTakers.push_back(std::move(taker)); }
    /// See Listener.
    void descriptorClosed() { mListener.descriptorClosed(); }

private:
    enum class Watch { Nothing, Input, Output };

    struct Connection {
        std::uint64_t number = 0;  // never reused
        UniqueFd socket;
        Admitted admitted;
        std::string input;
        std::string output;  // not taken by the other side yet
        Watch watch = Watch::Nothing;
        int ticks = 0;  // ticks during an incomplete line or answer
    };

    void accept(UniqueFd socket);
    void onReadable(int fd);
    void onWritable(int fd);
    void selectWait(int fd);
    void enqueue(int fd);
    void answerOne();
    void answerTo(const std::string& line, std::uint64_t number);
    void answer(std::uint64_t number, const std::string& text);
    static bool send(Connection& connection);
    void watch(int fd, Watch wanted);
    void countTicks();
    void close(int fd);

    EventLoop& mLoop;
    Admission& mAdmission;
    Handler mHandler;
    std::vector<Taker> mTakers;
    std::function<void()> mOnClosed;
    std::unordered_map<int, Connection> mConnections;
    std::uint64_t mLastNumber = 0;
    std::deque<int> mLines;  // connections with a complete line, oldest first; not watched
    UniqueFd mTurn;          // always readable; watched while mLines is not empty
    Timer mClock;            // ticks while a connection has an incomplete line or answer
    bool mIsTicking = false;
    Listener mListener;
};

}  // namespace cabinaudio::server
