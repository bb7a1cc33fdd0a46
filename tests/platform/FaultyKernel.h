#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <thread>

namespace quorvel::test {

constexpr int never = std::numeric_limits<int>::max();

/// What goes wrong with the system calls that read, send and look up.
struct Faults {
    /// The call, from 0, that fails with the code.
    int failingCall = never;
    int code = 0;
    /// A transfer is cut to so many bytes, and a quarter are interrupted before they begin.
    std::size_t bytesPerCall = SIZE_MAX;
    /// Nothing of any file is in the page cache.
    bool isUncached = false;
    /// If not 0, the kernel knows Landlock in this version, and takes every call.
    int landlockVersion = 0;
};

/// While it exists, these faults befall every thread but the one that made it.
class FaultyKernel {
  public:
    explicit FaultyKernel(const Faults& faults);
    ~FaultyKernel();
    FaultyKernel(const FaultyKernel&) = delete;
    FaultyKernel& operator=(const FaultyKernel&) = delete;

    /// Whether the call that is to fail has been made.
    bool hasFailed() const { return calls_ > faults_.failingCall; }

    /// What the last Landlock ruleset was to be made of.
    std::uint64_t fileRights = 0;
    std::size_t attributesSize = 0;

    /// Whether this call fails; errno tells why.
    bool failsNow();
    bool interrupts();
    const Faults& faults() const { return faults_; }

    /// The one that applies to the calling thread, or null.
    static FaultyKernel* ofThisThread();

  private:
    const Faults faults_;
    const std::thread::id maker_ = std::this_thread::get_id();
    std::atomic<int> calls_ = 0;
    std::atomic<std::uint32_t> transfers_ = 0;
};

} // namespace quorvel::test
