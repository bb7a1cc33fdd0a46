#include "Options.h"

#include <stdexcept>
#include <string_view>

namespace quorvel::bench {

Options::Options(int count, char** words) {
    if (count < 2) throw std::runtime_error("usage: MODE name=value...");
    mode_ = words[1];
    for (int i = 2; i < count; ++i) {
        const std::string_view word = words[i];
        const auto sign = word.find('=');
        if (sign == std::string_view::npos)
            throw std::runtime_error("not name=value: " + std::string(word));
        values_.emplace(word.substr(0, sign), word.substr(sign + 1));
    }
}

std::string Options::text(const std::string& name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) throw std::runtime_error("missing: " + name);
    return found->second;
}

std::uint64_t Options::number(const std::string& name) const {
    return std::stoull(text(name));
}

std::uint64_t Options::number(const std::string& name, std::uint64_t otherwise) const {
    return has(name) ? number(name) : otherwise;
}

double Options::seconds(const std::string& name) const {
    return std::stod(text(name));
}

} // namespace quorvel::bench
