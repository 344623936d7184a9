#pragma once

#include <cstdint>
#include <vector>

#include "platform/pnic.h"

/// The kernel's link-mode bitmaps and what their bits mean to us.
namespace LinuxHost {

/// A bitmap as the kernel hands it over: bit n is bit n % 32 of word n / 32.
using LinkModeBits = std::vector<std::uint32_t>;

/// The (speed, duplex) pairs of a bitmap: one for each pair, whatever media and codings carry it,
/// in ascending order of speed, half duplex before full. Bits of newer kernels are passed over.
std::vector<Nodemgr::Network::LinkMode> linkModesOf(const LinkModeBits& bits);

/// The media of a bitmap in the kernel's bit order. A backplane has no number among the host
/// library's media and is given the kernel's "other", 255.
std::vector<Nodemgr::Network::PnicPortMode> portModesOf(const LinkModeBits& bits);

/// Whether the bitmap contains auto-negotiation.
bool hasAutoNegotiation(const LinkModeBits& bits);

/// The kernel's number of the current medium (PORT_...) in the host library's numbering. Media that
/// the latter does not name keep the kernel's number, which lies outside of the named range.
Nodemgr::Network::PnicPortMode portModeOf(std::uint32_t kernelPort);

/// The kernel's duplex number; automatic when the kernel does not know.
Nodemgr::Network::Duplex duplexOf(std::uint32_t kernelDuplex);

/// The kernel's speed in Mb/s; 0 when the kernel does not know.
Nodemgr::Network::LinkSpeed speedOf(std::uint32_t kernelSpeed);

}  // namespace LinuxHost
