// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// What the check of a client costs the helper, with real processes, executables, signatures and sockets.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <openssl/evp.h>
#include <random>
#include <thread>

#include "adapters/linux/peer/FileCache.h"
#include "benchmarks/FirstCheck.h"
#include "benchmarks/Samples.h"
#include "codesign/signature/FileDigest.h"
#include "tests/contract/InstalledCompanion.h"

namespace wicket::benchmarks {
namespace {

using contract::InstalledCompanion;
using linux_adapter::LinuxCodeSigningServices;
using linux_adapter::PeerProcess;

constexpr std::size_t largeLength = std::size_t{10} << 20U;

/// The clients that are checked.
struct Stage {
  explicit Stage(InstalledCompanion& itsCompanion) : companion(itsCompanion) {
    std::filesystem::copy_file(WICKET_STAND_IN, companion.path("plain"));
    plain = companion.connect(companion.path("plain"));
    genuine = companion.connect();
    InstalledCompanion::copy(companion.path("large"));
    pad(companion.path("large"));
    InstalledCompanion::sign(companion.path("large"), InstalledCompanion::genuineRequest(), companion.chain());
    large = companion.connect(companion.path("large"));
    std::ofstream(companion.path("anchor")) << companion.chain().root.pem();
  }

  /// Appends bytes that no code reads, like the data of a larger program.
  static void pad(const std::string& path) {
    std::minstd_rand numbers;
    std::string padding(largeLength - std::filesystem::file_size(path), '\0');
    for (char& byte : padding) byte = static_cast<char>(numbers());
    std::ofstream(path, std::ios::binary | std::ios::app) << padding;
  }

  [[nodiscard]] static codesign::Certificate anchorOf(const InstalledCompanion& companion) {
    return codesign::Certificate::retaining(companion.chain().root.x509());
  }

  InstalledCompanion& companion;
  InstalledCompanion::Client plain;
  InstalledCompanion::Client genuine;
  InstalledCompanion::Client large;
};

bool isLetIn(CodeSigningServices& services, const AuditTokenData& token) {
  doubles::RecordingConnection connection;
  connection.setAuditToken(token);
  return CodesignCheck::isValid(services, connection);
}

/// The check alone. The result is verified each time: a wrong one would be cheap.
void measureCheck(benchmark::State& state, CodeSigningServices& services, const AuditTokenData& token, bool expected) {
  doubles::RecordingConnection connection;
  connection.setAuditToken(token);
  Samples samples;
  for (auto unused : state) {
    bool result = !expected;
    samples.take([&] { result = CodesignCheck::isValid(services, connection); });
    if (result != expected) return state.SkipWithError("the check has the wrong result");
  }
  samples.report(state);
}

/// With what comes before it: finding out who is at the other end of the accepted socket.
void measureAcceptance(benchmark::State& state, CodeSigningServices& services, const InstalledCompanion::Client& client,
                       bool expected) {
  Samples samples;
  for (auto unused : state) {
    bool result = !expected;
    samples.take([&] {
      const auto peer = PeerProcess::ofSocket(client.connection.get());
      result = peer && isLetIn(services, peer->auditToken());
    });
    if (result != expected) return state.SkipWithError("the check has the wrong result");
  }
  samples.report(state);
}

/// The bytes of the large program, once in memory and once in its file.
class LargeProgram {
 public:
  explicit LargeProgram(const std::string& path)
      : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), bytes_(std::filesystem::file_size(path), '\0') {
    std::ifstream(path, std::ios::binary).read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
  }
  void hashMemory() const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    EVP_Digest(bytes_.data(), bytes_.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    benchmark::DoNotOptimize(digest);
  }
  void hashFile() const {
    auto digest = codesign::FileDigest::compute(file_.get(), bytes_.size(), bytes_.size());
    benchmark::DoNotOptimize(digest);
  }

 private:
  const Descriptor file_;
  std::string bytes_;
};

/// Each check is followed by the hashing it is compared with, so that both meet the same machine.
void measureCold(benchmark::State& state, const Stage& stage,
                 const std::function<std::optional<Microseconds>()>& check) {
  const LargeProgram program(stage.companion.path("large"));
  Samples checks;
  Samples memory;
  Samples file;
  for (auto unused : state) {
    const auto duration = check();
    if (!duration) return state.SkipWithError("the companion is not let in");
    checks.add(*duration);
    state.SetIterationTime(std::chrono::duration<double>(*duration).count());
    memory.take([&] { program.hashMemory(); });
    file.take([&] { program.hashFile(); });
  }
  checks.report(state);
  state.counters["sha256_us"] = file.median();
  state.counters["sha256_in_memory_us"] = memory.median();
  state.counters["above_sha256_us"] = checks.median() - file.median();
  state.counters["above_sha256_in_memory_us"] = checks.median() - memory.median();
}

/// With services that know no file yet.
std::optional<Microseconds> checkWithEmptyCache(const Stage& stage) {
  const auto before = std::chrono::steady_clock::now();
  LinuxCodeSigningServices services(InstalledCompanion::knownGroup(), Stage::anchorOf(stage.companion));
  if (!isLetIn(services, stage.large.token)) return std::nullopt;
  return std::chrono::steady_clock::now() - before;
}

/// The median over all repetitions counts: a machine that does something else disturbs some of them.
benchmark::internal::Benchmark* repeated(benchmark::internal::Benchmark* one) {
  return one->Repetitions(15)->DisplayAggregatesOnly()->Unit(benchmark::kMicrosecond);
}

void registerAll(Stage& stage) {
  auto& services = stage.companion.services();
  const auto add = [](const char* name, auto function) {
    return repeated(benchmark::RegisterBenchmark(name, std::move(function)));
  };
  add("known_companion/check", [&](auto& state) { measureCheck(state, services, stage.genuine.token, true); })
      ->UseRealTime()
      ->MinTime(0.2);
  add("known_companion/accept_and_check", [&](auto& state) { measureAcceptance(state, services, stage.genuine, true); })
      ->UseRealTime()
      ->MinTime(0.2);
  add("plain_process/check", [&](auto& state) { measureCheck(state, services, stage.plain.token, false); })
      ->UseRealTime()
      ->MinTime(0.1);
  add("plain_process/accept_and_check", [&](auto& state) { measureAcceptance(state, services, stage.plain, false); })
      ->UseRealTime()
      ->MinTime(0.2);
  add("unknown_companion_10MB/check",
      [&](auto& state) { measureCold(state, stage, [&] { return checkWithEmptyCache(stage); }); })
      ->UseManualTime()
      ->Iterations(20);
  add("unknown_companion_10MB/first_check_of_a_process",
      [&](auto& state) {
        measureCold(state, stage,
                    [&] { return FirstCheck::inNewProcess(stage.large.token, stage.companion.path("anchor")); });
      })
      ->UseManualTime()
      ->Iterations(20);
}

void runAll(InstalledCompanion& companion) {
  Stage stage(companion);
  // Of a file that has just been written nothing is remembered.
  const auto youth = std::chrono::seconds(linux_adapter::FileCache<int>::youthInSeconds + 1);
  std::this_thread::sleep_for(youth);
  registerAll(stage);
  benchmark::RunSpecifiedBenchmarks();
}

int run(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  if (benchmark::ReportUnrecognizedArguments(count, arguments)) return EXIT_FAILURE;
  if (!contract::withInstalledCompanion(runAll)) {
    std::cerr << "client_check_benchmark: needs root, to install companions in a mount namespace of its own\n";
    return EXIT_FAILURE;
  }
  benchmark::Shutdown();
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace wicket::benchmarks

int main(int count, char** arguments) {
  using wicket::benchmarks::FirstCheck;
  if (count == 4 && std::string(arguments[1]) == FirstCheck::option) return FirstCheck::run(arguments[2], arguments[3]);
  return wicket::benchmarks::run(count, arguments);
}
