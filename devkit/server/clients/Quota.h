// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace cabinaudio::server {

/// How much of something each user has, and how much one may have. Outlives its shares.
class Quota {
public:
    /// Whether each user has a limit of its own, or the users that share the quota have one
    /// together.
    enum class Of { EachUser, AllTogether };

    /// A user's part, given back by the destructor. Without a quota nothing is counted.
    class Share {
    public:
        Share() = default;
        Share(Quota& quota, uid_t user) : mQuota(&quota), mUser(user) {}
        Share(Share&& other) noexcept;
        Share& operator=(Share&& other) noexcept;
        ~Share() { (void)resize(0); }

        /// @return false, and nothing is changed, when it would be too much. That is logged once,
        ///         until at most half of the limit is in use
        [[nodiscard]] bool resize(std::size_t amount);

    private:
        Quota* mQuota = nullptr;
        uid_t mUser = 0;
        std::size_t mAmount = 0;
    };

    /// @param things  in the plural, for messages
    Quota(Of of, std::string things, std::size_t limit)
        : mOf(of), mThings(std::move(things)), mLimit(limit) {}
    Quota(const Quota&) = delete;
    Quota& operator=(const Quota&) = delete;

    /// For the log and for the refused.
    [[nodiscard]] std::string complaint(uid_t user) const;

private:
    struct Use {
        std::size_t amount = 0;
        bool isLogged = false;  // that it was too much
    };

    [[nodiscard]] bool change(uid_t user, std::size_t from, std::size_t to);

    const Of mOf;
    const std::string mThings;
    const std::size_t mLimit;
    std::map<uid_t, Use> mUses;  // of those that have something
};

}  // namespace cabinaudio::server
