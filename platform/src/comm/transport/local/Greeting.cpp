#include "Greeting.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace comm::transport {
namespace {

using Descriptors = std::array<int, 2>;

// The control data of a message with two descriptors.
union Control {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(Descriptors))];
};

msghdr messageOf(iovec& part, Control& control) {
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof control;
    return message;
}

// Takes over what descriptors have come, so that they are closed in any case. Their number, if they are descriptors.
std::size_t takeDescriptors(msghdr& message, Greeting& greeting) {
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) return 0;
    Descriptors descriptors{-1, -1};
    const std::size_t size = header->cmsg_len - CMSG_LEN(0);
    std::memcpy(descriptors.data(), CMSG_DATA(header), size < sizeof descriptors ? size : sizeof descriptors);
    greeting.memory = FileDescriptor(descriptors[0]);
    greeting.doorbell = FileDescriptor(descriptors[1]);
    return size / sizeof(int);
}

}  // namespace

bool Greeting::send(int socket, const GreetingBody& body, int memory, int doorbell) {
    iovec part{const_cast<GreetingBody*>(&body), sizeof body};
    Control control{};
    msghdr message = messageOf(part, control);
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(Descriptors));
    const Descriptors descriptors{memory, doorbell};
    std::memcpy(CMSG_DATA(header), descriptors.data(), sizeof descriptors);
    return ::sendmsg(socket, &message, MSG_NOSIGNAL) != static_cast<ssize_t>(sizeof body);
}

// It is sent in one piece, and the system keeps together what carries descriptors. It is looked at before it is taken,
// since the system throws away the descriptors for which there is no place.
Greeting::Result Greeting::receive(int socket, const char*& fault) {
    iovec part{&body, sizeof body};
    Control control{};
    msghdr message = messageOf(part, control);
    const ssize_t count = ::recvmsg(socket, &message, MSG_PEEK | MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Result::NotYet;
    if (count == 0) return Result::Ended;
    const std::size_t descriptors = count > 0 ? takeDescriptors(message, *this) : 0;
    const bool cut = (message.msg_flags & MSG_CTRUNC) != 0;
    if (cut && descriptors < std::tuple_size_v<Descriptors>) return Result::Short;
    if (count > 0) (void)::recv(socket, &body, sizeof body, MSG_DONTWAIT);  // the same bytes
    if (count < 0)
        fault = "reading from it failed";
    else if (count != sizeof body || body.protocol != GreetingBody::Protocol)
        fault = "it speaks another protocol";
    else if (descriptors != std::tuple_size_v<Descriptors>)
        fault = "its greeting comes without memory and doorbell";
    else
        fault = cut ? "its greeting comes with more than memory and doorbell" : nullptr;
    return fault == nullptr ? Result::Complete : Result::Wrong;
}

}  // namespace comm::transport
