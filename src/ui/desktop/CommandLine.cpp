#include "ui/desktop/CommandLine.h"

#include <QtGlobal>
#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <iostream>
#include <string_view>

namespace quorvel::ui {

namespace {

constexpr int exitUsage = 2;

constexpr auto help = R"(Usage: quorvel-server [OPTION]
Share one folder, read-only, with other devices on the local network. The
program lives in the tray of a desktop or, where there is none, in a window.

      --help     display this help and exit
      --version  output version information and exit

Exit status: 0 when the user ends the program, or when it runs already and has
shown its window; 1 when there is no desktop; 2 for wrong arguments.
)";

bool hasDesktop() {
    return std::ranges::any_of(
        std::initializer_list<const char*>{"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"},
        [](const char* name) { return !qEnvironmentVariableIsEmpty(name); });
}

} // namespace

std::optional<int> answeredWithoutDesktop(std::span<char* const> arguments) {
    for (const std::string_view argument : arguments) {
        if (argument == "--help") {
            std::cout << help;
            return EXIT_SUCCESS;
        }
        if (argument == "--version") {
            std::cout << "quorvel-server " QUORVEL_VERSION "\n";
            return EXIT_SUCCESS;
        }
        if (argument.starts_with("--"))
            return refused("unrecognized option", std::string(argument));
    }
    if (hasDesktop()) return std::nullopt;
    if (!arguments.empty()) return refused("extra operand", arguments.front());
    std::cerr << "quorvel-server: there is no desktop to run on\n";
    return EXIT_FAILURE;
}

int refused(const std::string& reason, const std::string& argument) {
    std::cerr << "quorvel-server: " << reason << " '" << argument
              << "'\nTry 'quorvel-server --help' for more information.\n";
    return exitUsage;
}

} // namespace quorvel::ui
