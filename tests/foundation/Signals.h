// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace cabinaudio::test {

/// Runs `body` on a plain thread that gets a signal every millisecond until it is done.
template <typename Body>
void runUnderSignals(Body body) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    std::atomic<bool> done{false};
    std::thread thread([&] {
        body();
        done = true;
    });
    while (!done) {
        pthread_kill(thread.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    thread.join();
    ASSERT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
}

}  // namespace cabinaudio::test
