// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <map>
#include <string>

namespace cabinaudio::tool::scenario {

/// Adds the lines of a file to a scenario, one by one.
class LineReader {
public:
    explicit LineReader(Scenario& scenario);

    /// @param words  of the line, one at least
    /// @return what is wrong with the line, what was expected; empty if nothing is
    [[nodiscard]] std::string take(unsigned line, const Words& words);

    /// Call after the last line. @return what the whole file lacks, or ""
    [[nodiscard]] std::string end() const;

private:
    struct Keyword;
    static const Keyword KEYWORDS[];

    // Each takes the words behind the keyword, and throws a Fault.
    void takeServer(const Words& words);
    void takeSet(const Words& words);
    void takeRun(const Words& words);
    void takeAwait(const Words& words);
    void takeAt(const Words& words);
    void takeUntil(const Words& words);
    void takeExpect(const Words& words);

    void takeAction(const Moment& at, const Words& words);
    void takeRestart(const Moment& at);
    [[nodiscard]] Action actionOf(const Words& words);
    [[nodiscard]] Action signalOf(const Words& words) const;
    [[nodiscard]] Program programOf(const Words& words);
    [[nodiscard]] ExpectExit exitOf(const Words& words) const;
    [[nodiscard]] Moment moment(const std::string& text) const;
    void requireRising(const Moment& at) const;
    void requireProgram(const std::string& name) const;
    [[nodiscard]] Part& part() { return mScenario.parts.back(); }

    Scenario& mScenario;
    unsigned mLine = 0;
    bool mHasOthers = false;  // lines besides those with options of the server
    Moment mLast{0, "0"};     // time of the line before
    unsigned mLastLine = 0;   // 0: none in this part
    unsigned mCrashLine = 0;  // 0: the part's server lives
    std::map<std::string, unsigned> mProgramLines;
};

}  // namespace cabinaudio::tool::scenario
