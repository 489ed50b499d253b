// SPDX-License-Identifier: Apache-2.0

#include "Cases.h"

#include <cstdio>
#include <cstdlib>

#include <malloc.h>

namespace bench {

namespace {

constexpr int NEVER = 1 << 30;

std::string caseName(const std::string& operation, const char* who)
{
    return operation + "/" + who;
}

} // namespace

void add(const std::string& operation, std::initializer_list<Candidate> candidates)
{
    for (const Candidate& candidate : candidates)
        benchmark::RegisterBenchmark(caseName(operation, candidate.who).c_str(), candidate.run);
}

void addInRealTime(const std::string& operation, std::initializer_list<Candidate> candidates,
                   int threads)
{
    for (const Candidate& candidate : candidates)
        benchmark::RegisterBenchmark(caseName(operation, candidate.who).c_str(), candidate.run)
            ->Threads(threads)
            ->UseRealTime();
}

void add(const std::string& operation, std::initializer_list<TextCandidate> candidates,
         const std::vector<Input>& texts)
{
    for (const TextCandidate& candidate : candidates)
        for (const Input& input : texts)
            benchmark::RegisterBenchmark(
                (caseName(operation, candidate.who) + "/" + input.name).c_str(), candidate.run,
                input.text);
}

void add(const std::string& operation, std::initializer_list<SizeCandidate> candidates,
         std::initializer_list<std::size_t> sizes)
{
    for (const SizeCandidate& candidate : candidates)
        for (const std::size_t size : sizes)
            benchmark::RegisterBenchmark(
                (caseName(operation, candidate.who) + "/" + std::to_string(size)).c_str(),
                candidate.run, size);
}

void require(bool isSo, const std::string& what)
{
    if (isSo) return;
    std::fprintf(stderr, "not the same work: %s\n", what.c_str());
    std::exit(1);
}

} // namespace bench

int main(int argc, char** argv)
{
    // Blocks come from memory that the process has, on every side: otherwise large ones would
    // measure the system's page faults.
    mallopt(M_MMAP_THRESHOLD, bench::NEVER);
    mallopt(M_TRIM_THRESHOLD, bench::NEVER);
    bench::registerCases();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
