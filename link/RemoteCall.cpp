// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/LibraryThread.h"
#include "foundation/Log.h"
#include "foundation/Make.h"
#include "foundation/UseGate.h"
#include "link/RemoteCallAccess.h"
#include "link/RemoteCallNotifierWorker.h"
#include "link/Request.h"
#include "wire/Frame.h"

#include <cinttypes>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <limits>

using cabinaudio::LogSite;
using cabinaudio::RemoteCallAccess;
using cabinaudio::UseGate;

namespace {

constexpr std::uint32_t HEADER_SIZE = sizeof(audio_param);
constexpr std::uint32_t MAX_LENGTH = std::numeric_limits<std::int32_t>::max();

/// Value of mReqPayload while one thread allocates or frees the blocks; never a real payload.
std::uint8_t gClaimed;
std::uint8_t* const CLAIMED = &gClaimed;

/// Length of header and payload. A payload too large for a message gives -1, which send() refuses.
std::int32_t messageLength(std::uint32_t payload) {
    if (payload > MAX_LENGTH - HEADER_SIZE) return -1;
    return static_cast<std::int32_t>(HEADER_SIZE + payload);
}

std::uint32_t word(std::int32_t number) {
    return static_cast<std::uint32_t>(number);
}

std::int32_t bodyLength(std::uint32_t wanted) {
    return static_cast<std::int32_t>(wanted < MAX_LENGTH ? wanted : MAX_LENGTH);
}

/// Body of the callFuncId() overloads: sends the words and receives a reply of 4 bytes, or of 8 if
/// `value` is given, which is stored when the request went through.
std::int32_t requestWords(RemoteCall& rc, const LogSite& site,
                          std::initializer_list<std::uint32_t> words, std::int32_t* value,
                          bool flag) {
    const auto size = static_cast<std::uint32_t>(words.size() * sizeof(std::uint32_t));
    const std::uint32_t replySize = value != nullptr ? sizeof(std::int32_t[2]) : sizeof *value;
    const auto answer = cabinaudio::requestBlocks(
        rc, size, replySize, flag,
        [&](std::uint8_t* request) { std::memcpy(request, words.begin(), size); },
        [&](std::int32_t called, const std::uint8_t* reply) {
            if (called == AUDIO_NO_ERROR && value != nullptr)
                std::memcpy(value, reply + sizeof(std::int32_t), sizeof *value);
        });
    cabinaudio::logUnfreed(answer, site);
    return answer.status;
}

}  // namespace

RemoteCall::RemoteCall(audio_connect_type type, Notify notify, void* opaque, const char* name)
    : mConn(nullptr),
      mType(type),
      mHandle(0),
      mReqPayload(nullptr),
      mReqBlock(nullptr),
      mRetBlock(nullptr),
      mNotifier(cabinaudio::make<RemoteCallNotifierWorker>(notify, opaque)) {
    cabinaudio::LibraryThread::start(*mNotifier);
    std::uint8_t registration[HEADER_SIZE];
    init_audio_param(registration, AUDIO_CMD_REGISTER, type, AUDIO_REGISTER_WORD,
                     sizeof(audio_param::name), name);
    AudioConnection* const conn = cabinaudio::make<AudioConnection>(
        cabinaudio::wire::SERVER_SOCKET, cabinaudio::wire::SERVER_PORT, &notifyCbk, this);
    mConn = conn;
    if (conn->send(registration, sizeof registration) != 0) AUDIO_LOGW("send fail\n");
    std::uint8_t reply[sizeof(cabinaudio::wire::RegistrationReply)] = {};
    if (conn->recv(reply, sizeof reply) != 0) AUDIO_LOGW("recv fail\n");
    cabinaudio::wire::RegistrationReply registered;
    std::memcpy(&registered, reply, sizeof registered);
    mHandle = registered.handle;
}

RemoteCall::~RemoteCall() {
    // From here on, requests made by the notifier, which still delivers its queue, find no
    // connection.
    AudioConnection* const conn = mConn.exchange(nullptr);
    if (!mNotifier->requests.empty()) {
        conn->_interrupt();
        mNotifier->requests.drain();
    }
    delete conn;
    delete mNotifier;
}

std::int32_t RemoteCall::initCheck() {
    return mHandle != 0 ? AUDIO_NO_ERROR : AUDIO_NOT_CONNECTED;
}

std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    std::uint8_t* idle = nullptr;
    if (!mReqPayload.compare_exchange_strong(idle, CLAIMED)) {
        AUDIO_LOGE("bad sequence\n");
        return AUDIO_BAD_SEQUENCE;
    }
    if (reqLen > std::numeric_limits<std::uint32_t>::max() - HEADER_SIZE) {
        mReqPayload = nullptr;
        AUDIO_LOGE("AudioNormalMalloc failed\n");
        return AUDIO_NO_MEMORY;
    }
    mReqBlock = static_cast<std::uint8_t*>(AudioNormalMalloc(HEADER_SIZE + reqLen));
    // At least one byte: malloc(0) may return null, which the allocator treats as failure.
    mRetBlock = static_cast<std::uint8_t*>(AudioNormalMalloc(retLen != 0 ? retLen : 1));
    *req = mReqBlock + HEADER_SIZE;
    *ret = mRetBlock;
    mReqPayload = mReqBlock + HEADER_SIZE;
    return AUDIO_NO_ERROR;
}

std::int32_t RemoteCall::call(std::uint8_t* req, std::uint32_t reqLen, std::uint8_t* ret,
                              std::uint32_t retLen, bool flag) {
    const UseGate::Visit visit(mNotifier->requests);
    AudioConnection* const conn = mConn;
    const std::uint32_t handle = mHandle;
    if (conn == nullptr || handle == 0) {
        AUDIO_LOGE("mConn=0x%" PRIxPTR ", mHandle=0x%x\n", reinterpret_cast<std::uintptr_t>(conn),
                   handle);
        return 1;
    }
    if (req == nullptr || req == CLAIMED || req != mReqPayload) {
        AUDIO_LOGE("bad param\n");
        return AUDIO_BAD_VALUE;
    }
    std::uint8_t* const block = req - HEADER_SIZE;
    init_audio_param(block, flag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL, mType,
                     static_cast<std::int32_t>(handle), static_cast<std::int32_t>(reqLen),
                     cabinaudio::wire::NAME_UNKNOWN);
    if (conn->send(block, messageLength(reqLen)) != 0) return 1;
    return conn->recv(ret, bodyLength(retLen));
}

std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    if (req == nullptr || ret == nullptr) {
        AUDIO_LOGE("rcfree bad param\n");
        return AUDIO_BAD_SEQUENCE;
    }
    // Claimed while the blocks are compared and freed, so that only one of two threads frees them.
    std::uint8_t* outstanding = static_cast<std::uint8_t*>(req);
    const bool mine = req != CLAIMED && mReqPayload.compare_exchange_strong(outstanding, CLAIMED);
    if (!mine || ret != mRetBlock) {
        if (mine) mReqPayload = outstanding;
        AUDIO_LOGE("rcfree bad addr\n");
        return AUDIO_BAD_SEQUENCE;
    }
    AudioNormalFree(mReqBlock);
    AudioNormalFree(mRetBlock);
    mReqBlock = nullptr;
    mRetBlock = nullptr;
    mReqPayload = nullptr;
    return AUDIO_NO_ERROR;
}

// ---- callFuncId ---------------------------------------------------------------------------------

std::int32_t RemoteCall::callFuncId(std::uint32_t id, bool flag) {
    return requestWords(*this, AUDIO_LOG_SITE, {id}, nullptr, flag);
}

std::int32_t RemoteCall::callFuncId(std::uint32_t id, std::int32_t a, bool flag) {
    return requestWords(*this, AUDIO_LOG_SITE, {id, word(a)}, nullptr, flag);
}

std::int32_t RemoteCall::callFuncId(std::uint32_t id, std::int32_t a, std::int32_t b, bool flag) {
    return requestWords(*this, AUDIO_LOG_SITE, {id, word(a), word(b)}, nullptr, flag);
}

std::int32_t RemoteCall::callFuncId(std::uint32_t id, std::int32_t a, std::int32_t b,
                                    std::int32_t c, bool flag) {
    return requestWords(*this, AUDIO_LOG_SITE, {id, word(a), word(b), word(c)}, nullptr, flag);
}

std::int32_t RemoteCall::callFuncId(std::uint32_t id, std::int32_t* out, bool flag) {
    std::int32_t unwanted = 0;
    return requestWords(*this, AUDIO_LOG_SITE, {id}, out != nullptr ? out : &unwanted, flag);
}

// ---- Notifications and headers ------------------------------------------------------------------

void RemoteCall::notifyCbk(void* opaque, std::uint32_t event, std::uint32_t param) {
    AUDIO_ASSERT(NULL != opaque);
    static_cast<RemoteCall*>(opaque)->mNotifier->post(event, param);
}

void RemoteCall::init_audio_param(std::uint8_t* record, std::int32_t cmd, audio_connect_type type,
                                  std::int32_t handle, std::int32_t length, const char* name) {
    audio_param param = {};
    param.cmd = static_cast<std::uint32_t>(cmd);
    param.type = type;
    param.handle = static_cast<std::uint32_t>(handle);
    param.length = static_cast<std::uint32_t>(length);
    param.timestamp = AudioTime::now();
    if (name == nullptr) name = cabinaudio::wire::NAME_UNKNOWN;
    // Truncated to fit before the last byte, which stays 0.
    std::memcpy(param.name, name, strnlen(name, sizeof param.name - 1));
    std::memcpy(record, &param, sizeof param);
}

// ---- RemoteCallAccess ---------------------------------------------------------------------------

UseGate& RemoteCallAccess::requests(RemoteCall& call) {
    return call.mNotifier->requests;
}

void RemoteCallAccess::abandon(RemoteCall& call) {
    call._abandon();
}

void RemoteCall::_abandon() {
    const UseGate::Visit visit(mNotifier->requests);
    AudioConnection* const conn = mConn;
    if (conn != nullptr) conn->_abandon();
}
