#include "model/ShareAddress.h"

#include "server/PercentEncoding.h"

namespace quorvel::model {

namespace {

std::string encoded(std::string_view text) {
    return server::percentEncoded(text, server::UrlPart::user);
}

std::string userInformation(const server::Credentials& login) {
    std::string text = encoded(login.user);
    if (!login.pass.empty()) text += ':' + encoded(login.pass);
    return text + '@';
}

std::string address(const Share& share, const std::string& user, std::string_view host) {
    std::string text(scheme(share.type));
    text += "://";
    text += user;
    text += host;
    return text + ':' + std::to_string(share.port) + '/';
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\' || c == '"') result += '\\';
        result += c;
    }
    return result;
}

std::string member(std::string_view key, std::string_view value) {
    std::string text = "\"";
    text += key;
    text += "\": \"";
    text += value;
    return text + '"';
}

} // namespace

std::string shareLink(const Share& share, std::string_view host) {
    return address(share, share.login ? userInformation(*share.login) : "", host);
}

std::string shareJSON(const Share& share, std::string_view host) {
    std::string members = member("url", address(share, "", host));
    if (share.login) {
        members += ", " + member("name", escaped(share.login->user));
        members += ", " + member("pass", escaped(share.login->pass));
    }
    return "{ " + members + " }";
}

} // namespace quorvel::model
