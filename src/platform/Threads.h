#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace quorvel::platform {

/// A task that runs once.
using Task = std::move_only_function<void()>;

/// Runs the body on a new thread that nobody joins. It is named by the label, blocks all signals,
/// which belong to the main thread, and inherits the confinement of the calling thread. Throws
/// std::system_error when the system is out of threads.
void startThread(const std::string& label, Task body);

/// Waits until every such thread has ended; returns false after the timeout.
bool waitUntilThreadsEnded(std::chrono::milliseconds timeout);

} // namespace quorvel::platform
