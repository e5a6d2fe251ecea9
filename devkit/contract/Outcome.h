// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

/// How the check of a rule ends early.
namespace cabinaudio::contract {

/// The kit itself cannot work, for example without a server. The text is one line.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// No server listens.
class NoServer : public Error {
public:
    using Error::Error;
};

/// The rule does not hold.
class Broken : public std::exception {
public:
    Broken(std::string expected, std::string came)
        : mExpected(std::move(expected)),
          mCame(std::move(came)),
          mText("expected " + mExpected + ", came " + mCame) {}

    [[nodiscard]] const char* what() const noexcept override { return mText.c_str(); }
    [[nodiscard]] const std::string& expected() const { return mExpected; }
    [[nodiscard]] const std::string& came() const { return mCame; }

private:
    std::string mExpected;
    std::string mCame;
    std::string mText;
};

/// The rule cannot be judged with this server. The text says why.
class NotJudged : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The user has ended the run.
class Interrupted : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// @throws Broken unless `holds`
inline void require(bool holds, const std::string& expected, const std::string& came) {
    if (!holds) throw Broken(expected, came);
}

}  // namespace cabinaudio::contract
