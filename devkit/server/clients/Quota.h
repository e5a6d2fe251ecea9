// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace cabinaudio::server {

/// How much of a resource each user holds and may hold. Outlives its shares.
class Quota {
public:
    /// Whether the limit applies to each user separately or to all users together.
    enum class Scope { PerUser, AllUsers };

    /// One user's part, released by the destructor. Without a quota nothing is counted.
    class Share {
    public:
        Share() = default;
        Share(Quota& quota, uid_t user) : mQuota(&quota), mUser(user) {}
        Share(Share&& other) noexcept;
        Share& operator=(Share&& other) noexcept;
        ~Share() { (void)resize(0); }

        /// @return false, without any change, when it would exceed the limit. That is logged once,
        ///         and again only after use has dropped to half of the limit
        [[nodiscard]] bool resize(std::size_t amount);

    private:
        Quota* mQuota = nullptr;
        uid_t mUser = 0;
        std::size_t mAmount = 0;
    };

    /// @param noun  plural noun for messages
    Quota(Scope scope, std::string noun, std::size_t limit)
        : mScope(scope), mNoun(std::move(noun)), mLimit(limit) {}
    Quota(const Quota&) = delete;
    Quota& operator=(const Quota&) = delete;

    /// Text for the log and for the refused client.
    [[nodiscard]] std::string complaint(uid_t user) const;

private:
    struct Use {
        std::size_t amount = 0;
        bool isLogged = false;  // the excess was logged
    };

    [[nodiscard]] bool change(uid_t user, std::size_t from, std::size_t to);

    const Scope mScope;
    const std::string mNoun;
    const std::size_t mLimit;
    std::map<uid_t, Use> mUses;  // of users that hold something
};

}  // namespace cabinaudio::server
