#include "platform/Segments.h"

// Not the C library's header, which does not know the count; a source can include only one of them.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quorvel::test {

std::uint32_t segmentsReceived(int socket) {
    tcp_info info{};
    socklen_t length = sizeof info;
    getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length);
    return info.tcpi_data_segs_in;
}

} // namespace quorvel::test
