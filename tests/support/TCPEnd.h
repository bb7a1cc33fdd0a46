#pragma once

#include "platform/Descriptor.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace quorvel::test {

/// Looks up one end of a connection on this machine (sock_diag(7)); all zero if it is gone.
inline inet_diag_msg tcpEnd(const sockaddr_in6& local, const sockaddr_in6& remote) {
    struct {
        nlmsghdr header;
        inet_diag_req_v2 body;
    } request{{sizeof request, SOCK_DIAG_BY_FAMILY, NLM_F_REQUEST, 0, 0},
              {AF_INET6, IPPROTO_TCP, 0, 0, 0, {local.sin6_port, remote.sin6_port}}};
    std::ranges::copy(local.sin6_addr.s6_addr32, request.body.id.idiag_src);
    std::ranges::copy(remote.sin6_addr.s6_addr32, request.body.id.idiag_dst);
    std::ranges::fill(request.body.id.idiag_cookie, INET_DIAG_NOCOOKIE);
    struct {
        nlmsghdr header;
        inet_diag_msg body;
    } answer{};
    constexpr int type = SOCK_DGRAM | SOCK_CLOEXEC;
    const platform::Descriptor kernel(socket(AF_NETLINK, type, NETLINK_SOCK_DIAG));
    send(kernel.number(), &request, sizeof request, 0);
    EXPECT_GT(recv(kernel.number(), &answer, sizeof answer, 0), 0) << "errno " << errno;
    // Without such a connection the kernel returns an error, or the listener.
    const bool isFound = answer.header.nlmsg_type == SOCK_DIAG_BY_FAMILY;
    return isFound && answer.body.idiag_state != TCP_LISTEN ? answer.body : inet_diag_msg{};
}

} // namespace quorvel::test
