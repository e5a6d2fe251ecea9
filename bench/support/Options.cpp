// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Options.h"

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>

namespace cabinaudio::bench {

std::optional<int> readCommandLine(int argc, char** argv, const std::string& what,
                                   Options& options) {
    CLI::App app{what};
    app.allow_extras();  // flags of Google Benchmark
    app.add_option("--rounds", options.rounds, "Rounds; every program runs once in each")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--repeats", options.repeats, "Measurements of one program in one round")
        ->check(CLI::Range(1, 10'000'000))
        ->capture_default_str();
    CLI::Option* const cpu =
        app.add_option("--cpu", options.cpu, "Run everything on this CPU (default: the last one)");
    app.add_flag("--any-cpu", options.anyCpu, "Pin nothing")->excludes(cpu);
    app.add_option("--json", options.json, "Write all figures to this file")->type_name("FILE");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    std::vector<std::string> words = app.remaining();
    words.insert(words.begin(), argv[0]);
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words)
        pointers.push_back(word.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 2;
    return std::nullopt;
}

}  // namespace cabinaudio::bench
