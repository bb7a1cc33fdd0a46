#include "platform/FaultyKernel.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace quorvel::test {

namespace {

std::atomic<FaultyKernel*> current = nullptr;

/// The function that this program's own hides.
template <class Function>
Function* hidden(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Returns true if the call fails instead, and cuts the transfer otherwise.
bool transferFails(std::size_t& size) {
    auto* const kernel = FaultyKernel::ofThisThread();
    if (kernel == nullptr) return false;
    size = std::min(size, kernel->faults().bytesPerCall);
    return kernel->failsNow() || kernel->interrupts();
}

bool lookupFails() {
    auto* const kernel = FaultyKernel::ofThisThread();
    return kernel != nullptr && kernel->failsNow();
}

} // namespace

FaultyKernel::FaultyKernel(const Faults& faults) : faults_(faults) {
    current = this;
}

FaultyKernel::~FaultyKernel() {
    current = nullptr;
}

FaultyKernel* FaultyKernel::ofThisThread() {
    auto* const kernel = current.load();
    return kernel != nullptr && kernel->maker_ != std::this_thread::get_id() ? kernel : nullptr;
}

bool FaultyKernel::failsNow() {
    if (calls_++ != faults_.failingCall) return false;
    errno = faults_.code;
    return true;
}

bool FaultyKernel::interrupts() {
    if (faults_.bytesPerCall == SIZE_MAX) return false;
    // Irregularly, so that reads and sends that alternate both succeed at last.
    constexpr std::uint32_t scatter = 2654435761;
    if ((transfers_++ * scatter >> 30) != 0) return false;
    errno = EINTR;
    return true;
}

} // namespace quorvel::test

using quorvel::test::FaultyKernel;
using quorvel::test::hidden;
using quorvel::test::lookupFails;
using quorvel::test::transferFails;

extern "C" {

ssize_t pread(int file, void* into, std::size_t size, off_t offset) {
    static auto* const next = hidden<decltype(pread)>("pread");
    return transferFails(size) ? -1 : next(file, into, size, offset);
}

ssize_t recv(int socket, void* into, std::size_t size, int flags) {
    static auto* const next = hidden<decltype(recv)>("recv");
    return transferFails(size) ? -1 : next(socket, into, size, flags);
}

ssize_t send(int socket, const void* from, std::size_t size, int flags) {
    static auto* const next = hidden<decltype(send)>("send");
    return transferFails(size) ? -1 : next(socket, from, size, flags);
}

ssize_t sendfile(int socket, int file, off_t* offset, std::size_t size) noexcept {
    static auto* const next = hidden<decltype(sendfile)>("sendfile");
    return transferFails(size) ? -1 : next(socket, file, offset, size);
}

ssize_t preadv2(int file, const iovec* into, int count, off_t offset, int flags) {
    static auto* const next = hidden<decltype(preadv2)>("preadv2");
    auto* const kernel = FaultyKernel::ofThisThread();
    if (kernel == nullptr || !kernel->faults().isUncached)
        return next(file, into, count, offset, flags);
    errno = EAGAIN;
    return -1;
}

dirent* readdir(DIR* stream) {
    static auto* const next = hidden<decltype(readdir)>("readdir");
    return lookupFails() ? nullptr : next(stream);
}

int fstatat(int folder, const char* name, struct stat* into, int flags) noexcept {
    static auto* const next = hidden<decltype(fstatat)>("fstatat");
    return lookupFails() ? -1 : next(folder, name, into, flags);
}

int statx(int folder, const char* name, int flags, unsigned mask, struct statx* into) noexcept {
    static auto* const next = hidden<decltype(statx)>("statx");
    return lookupFails() ? -1 : next(folder, name, flags, mask, into);
}

int openat(int folder, const char* name, int flags, ...) {
    static auto* const next = hidden<decltype(openat)>("openat");
    return lookupFails() ? -1 : next(folder, name, flags);
}

long syscall(long number, ...) noexcept {
    static auto* const next = hidden<decltype(syscall)>("syscall");
    std::va_list rest;
    va_start(rest, number);
    long words[6];
    for (long& word : words)
        word = va_arg(rest, long);
    va_end(rest);
    if (number == SYS_openat2 && lookupFails()) return -1;
    auto* const kernel = FaultyKernel::ofThisThread();
    if (number == SYS_landlock_create_ruleset && kernel != nullptr) {
        if (kernel->failsNow()) return -1;
        const int version = kernel->faults().landlockVersion;
        if (words[0] == 0 && version > 0) return version;
        if (words[0] != 0) {
            kernel->fileRights = *reinterpret_cast<const std::uint64_t*>(words[0]);
            kernel->attributesSize = static_cast<std::size_t>(words[1]);
            return dup(STDERR_FILENO);
        }
    }
    return next(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

} // extern "C"
