// The UDP sender keeps its socket in sockfd, the listening socket's global,
// and leaves the closed number there; the server has to know that number.
#pragma once

namespace robocomm {

// Called by the UDP sender after it closed `fd`, the number it left in sockfd.
void retireDatagramSocket(int fd);

}  // namespace robocomm
