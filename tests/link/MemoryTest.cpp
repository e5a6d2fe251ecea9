// SPDX-License-Identifier: Apache-2.0
// A connection whose record or lock objects cannot be had.
#include <cabinaudio/link/AudioConnection.h>

#include "link/AudioSocket.h"
#include "tests/support/Logged.h"
#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <new>

namespace {

// Of this thread only, and only while a test says so.
thread_local bool failsRecord = false;
thread_local int failsObject = 0;  // which of the next objects, from 1; 0 for none

}  // namespace

// The linker sends this program's calls of the allocators here ("--wrap"). A definition of the
// allocators themselves would clash with a sanitizer's.
extern "C" {

void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t&);
void* __wrap__ZnwjRKSt9nothrow_t(std::size_t size, const std::nothrow_t&);

void* __wrap_malloc(std::size_t size) {
    if (failsRecord && size == sizeof(AudioSocket)) return nullptr;
    return __real_malloc(size);
}

/// operator new(std::size_t, const std::nothrow_t&), as 64-bit and as 32-bit compilers name it.
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t&) {
    if (failsObject > 0 && --failsObject == 0) return nullptr;
    return ::operator new(size);
}
void* __wrap__ZnwjRKSt9nothrow_t(std::size_t size, const std::nothrow_t& nothrow) {
    return __wrap__ZnwmRKSt9nothrow_t(size, nothrow);
}
}

namespace cabinaudio::test {
namespace {

TEST(ConnectionWithoutMemory, FailsForItsRecord) {
    LogCapture log;
    ScriptedServer server;
    failsRecord = true;
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_EQ(connection.connect(), 1);
    failsRecord = false;
    EXPECT_TRUE(
        logged(log, ERROR, "AudioConnection", "connect", "alloc socket memory failed\n", 2));
    EXPECT_EQ(connection.disconnect(), 1);
    EXPECT_EQ(server.clients(), 0u);
    EXPECT_EQ(connection.connect(), 0);
}

class ConnectionWithoutMemoryFor : public ::testing::TestWithParam<int> {};

TEST_P(ConnectionWithoutMemoryFor, APartFails) {
    LogCapture log;
    ScriptedServer server;
    failsObject = GetParam();
    AudioConnection connection(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_EQ(failsObject, 0) << "there is no such part";
    failsObject = 0;
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "connect", "create mutex failed\n"));
    EXPECT_EQ(connection.disconnect(), 1);
    EXPECT_EQ(server.clients(), 0u);
    EXPECT_EQ(connection.connect(), 0);
}

INSTANTIATE_TEST_SUITE_P(Parts, ConnectionWithoutMemoryFor, ::testing::Values(1, 2, 3, 4));

}  // namespace
}  // namespace cabinaudio::test
