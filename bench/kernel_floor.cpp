#include "bench/kernel_floor.h"

#include <linux/ethtool.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace orv::bench {
namespace {

alignas(nlmsghdr) unsigned char piece[32 * 1024];

/// Receives a piece of the answer. Fails: std::runtime_error when there is none.
unsigned receivePiece(int socketNumber) {
  const ssize_t size = recv(socketNumber, piece, sizeof piece, 0);
  if (size > 0) return static_cast<unsigned>(size);
  throw std::runtime_error(std::string("no answer from rtnetlink: ") +
                           (size < 0 ? std::strerror(errno) : "nothing received"));
}

/// Whether the piece that was received ends the answer.
bool isEnd(unsigned left) {
  const auto* message = reinterpret_cast<const nlmsghdr*>(piece);
  for (; NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) return true;
    if ((message->nlmsg_flags & NLM_F_MULTI) == 0) return true;
  }
  return false;
}

struct LinkRequest {
  nlmsghdr header;
  ifinfomsg link;
  rtattr name;
  char text[IFNAMSIZ];
};

void ask(const LinkRequest& request) {
  const int socketNumber = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (send(socketNumber, &request, request.header.nlmsg_len, 0) < 0) {
    throw std::runtime_error(std::string("rtnetlink takes no request: ") + std::strerror(errno));
  }
  while (!isEnd(receivePiece(socketNumber))) {
  }
  close(socketNumber);
}

}  // namespace

void dumpLinks() {
  LinkRequest request{};
  request.header.nlmsg_len = NLMSG_LENGTH(sizeof request.link);
  request.header.nlmsg_type = RTM_GETLINK;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  ask(request);
}

void findLink(const std::string& name) {
  LinkRequest request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = RTM_GETLINK;
  request.header.nlmsg_flags = NLM_F_REQUEST;
  request.name.rta_type = IFLA_IFNAME;
  request.name.rta_len = sizeof request.name + sizeof request.text;
  name.copy(request.text, sizeof request.text - 1);
  ask(request);
}

void askEthtool(const std::vector<std::string>& links, const std::vector<std::uint32_t>& commands) {
  const int socketNumber = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  alignas(8) unsigned char question[1024];
  for (const std::string& link : links) {
    ifreq request{};
    link.copy(request.ifr_name, sizeof request.ifr_name - 1);
    request.ifr_data = reinterpret_cast<char*>(question);
    for (const std::uint32_t command : commands) {
      std::memset(question, 0, sizeof question);
      std::memcpy(question, &command, sizeof command);
      ethtool_link_settings settings{};
      if (ioctl(socketNumber, SIOCETHTOOL, &request) != 0) continue;
      if (command != ETHTOOL_GLINKSETTINGS) continue;
      std::memcpy(&settings, question, sizeof settings);
      settings.link_mode_masks_nwords = static_cast<std::int8_t>(-settings.link_mode_masks_nwords);
      std::memcpy(question, &settings, sizeof settings);
      ioctl(socketNumber, SIOCETHTOOL, &request);
    }
  }
  close(socketNumber);
}

}  // namespace orv::bench
