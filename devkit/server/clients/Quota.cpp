// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Quota.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"

namespace cabinaudio::server {

Quota::Share::Share(Share&& other) noexcept
    : mQuota(std::exchange(other.mQuota, nullptr)),
      mUser(other.mUser),
      mAmount(std::exchange(other.mAmount, 0)) {}

Quota::Share& Quota::Share::operator=(Share&& other) noexcept {
    std::swap(mQuota, other.mQuota);
    std::swap(mUser, other.mUser);
    std::swap(mAmount, other.mAmount);
    return *this;
}

bool Quota::Share::resize(std::size_t amount) {
    if (mQuota == nullptr || amount == mAmount) return true;
    if (!mQuota->change(mUser, mAmount, amount)) return false;
    mAmount = amount;
    return true;
}

std::string Quota::complaint(uid_t user) const {
    const std::string holder = mScope == Scope::PerUser
                                   ? format("user %u has", user)
                                   : "users other than root and the server's together have";
    return format("%s too many %s (limit %zu)", holder.c_str(), mNoun.c_str(), mLimit);
}

bool Quota::change(uid_t user, std::size_t from, std::size_t to) {
    const uid_t key = mScope == Scope::PerUser ? user : 0;
    Use& use = mUses[key];
    const std::size_t amount = use.amount - from + to;
    if (to > from && amount > mLimit) {
        // Once only: a refused program keeps trying.
        if (!std::exchange(use.isLogged, true)) log::warning("%s", complaint(user).c_str());
        return false;
    }
    use.amount = amount;
    if (amount <= mLimit / 2) use.isLogged = false;
    if (amount == 0) mUses.erase(key);
    return true;
}

}  // namespace cabinaudio::server
