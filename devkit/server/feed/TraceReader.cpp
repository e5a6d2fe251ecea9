// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/feed/TraceReader.h"

#include "devkit/server/base/Log.h"
#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/RecordTime.h"

#include <cstring>
#include <utility>

namespace cabinaudio::server {

TraceReader::TraceReader(EventLoop& loop, UniqueFd socket, Admitted admitted, bool wantsSound,
                         std::size_t bound, std::function<void()> onGone)
    : mOutflow(loop, std::move(socket), std::move(admitted), std::move(onGone)),
      mWantsSound(wantsSound),
      mBound(bound) {}

void TraceReader::answer(const std::string& line) {
    const std::string whole = line + "\n";
    mOutflow.append(whole.data(), whole.size());
    mOutflow.send();
}

void TraceReader::add(std::span<const std::uint8_t> block) {
    if (isGone()) return;
    if (queuedBytes() + block.size() > mBound) {
        lose();
        return;
    }
    reportLoss();
    mOutflow.append(block.data(), block.size());
    mOutflow.send();
}

void TraceReader::finish() {
    reportLoss();
    mOutflow.send();
}

void TraceReader::lose() {
    if (mLost == 0)
        log::warning("a reader of the trace does not read; records that do not fit are lost");
    ++mLost;
    ++mUnreported;
}

void TraceReader::reportLoss() {
    if (mUnreported == 0) return;
    const trace::LostRecords lost = {std::exchange(mUnreported, 0)};
    trace::Record record;
    record.timeNs = trace::nanosecondsNow();
    record.kind = trace::Kind::Lost;
    record.bytes.resize(sizeof lost);
    std::memcpy(record.bytes.data(), &lost, sizeof lost);
    const auto block = trace::blockOf(record);
    mOutflow.append(block.data(), block.size());
}

}  // namespace cabinaudio::server
