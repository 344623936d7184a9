#pragma once

#include <cstdint>
#include <vector>

#include "platform/pnic.h"

/// The kernel's link-mode bitmaps, and what their bits mean to us.
namespace LinuxHost {

/// A bitmap in the kernel's form: bit n is bit n % 32 of word n / 32.
using LinkModeBits = std::vector<std::uint32_t>;

/// The (speed, duplex) pairs of a bitmap, each once, whatever the number of media and codings that
/// have it; in ascending order of speed, half duplex before full. Bits of newer kernels are
/// ignored.
std::vector<Nodemgr::Network::LinkMode> linkModesOf(const LinkModeBits& bits);

/// The media of a bitmap, in the kernel's bit order. The host library has no number for a
/// backplane, which gets the kernel's "other", 255.
std::vector<Nodemgr::Network::PnicPortMode> portModesOf(const LinkModeBits& bits);

/// Whether the bitmap contains auto-negotiation.
bool hasAutoNegotiation(const LinkModeBits& bits);

/// The kernel's number of the current medium (PORT_...) in the host library's numbering. A medium
/// that the library does not name keeps the kernel's number, which is none of the named ones.
Nodemgr::Network::PnicPortMode portModeOf(std::uint32_t kernelPort);

/// The duplex for the kernel's number; automatic when the kernel does not know it.
Nodemgr::Network::Duplex duplexOf(std::uint32_t kernelDuplex);

/// The speed for the kernel's number of Mb/s; 0 when the kernel does not know it.
Nodemgr::Network::LinkSpeed speedOf(std::uint32_t kernelSpeed);

}  // namespace LinuxHost
