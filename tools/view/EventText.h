// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/view/Board.h"
#include "tools/view/HttpServer.h"

#include <cstdint>
#include <string>

namespace cabinaudio::tool::view {

/// The events of one browser: `cabin`, then the differences to the snapshot that it has seen last.
class EventText : public HttpServer::Events {
public:
    explicit EventText(Board& board) : mBoard(board) { mBoard.addWatcher(); }
    ~EventText() override { mBoard.removeWatcher(); }
    EventText(const EventText&) = delete;
    EventText& operator=(const EventText&) = delete;

    [[nodiscard]] std::optional<std::string> next() override;

private:
    [[nodiscard]] std::string textOf(const Snapshot& snapshot);
    [[nodiscard]] std::string cabinText(const Snapshot& snapshot);
    [[nodiscard]] std::string changesText(const ShownSettings& settings);
    [[nodiscard]] std::string liveText(const Live& live);
    [[nodiscard]] std::string event(const char* name, const std::string& data);

    Board& mBoard;
    Board::Pointer mSeen;
    std::uint64_t mConnection = 0;   // whose cabin was sent
    bool mIsGone = false;            // this was sent
    std::uint64_t mLastRequest = 0;  // that was sent
    std::uint64_t mEvents = 0;
};

}  // namespace cabinaudio::tool::view
