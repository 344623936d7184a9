#include "platform/linux/cpuid.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/linux/pinned_thread.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace LinuxHost {
namespace {

/// The registers of a leaf; zero when the CPU lacks it.
HsiCpuRegisters readLeaf(std::uint32_t leaf, std::uint32_t subleaf = 0) {
  HsiCpuRegisters registers;
#if defined(__x86_64__) || defined(__i386__)
  __get_cpuid_count(leaf, subleaf, &registers.eax, &registers.ebx, &registers.ecx, &registers.edx);
#else
  static_cast<void>(leaf);
  static_cast<void>(subleaf);
#endif
  return registers;
}

unsigned bits(std::uint32_t word, unsigned lowest, unsigned count) {
  return (word >> lowest) & ((1U << count) - 1);
}

unsigned familyOf(std::uint32_t signature) {
  const unsigned base = bits(signature, 8, 4);
  return base == 15 ? base + bits(signature, 20, 8) : base;
}

unsigned modelOf(std::uint32_t signature) {
  const unsigned base = bits(signature, 4, 4);
  const unsigned family = bits(signature, 8, 4);
  return family == 6 || family == 15 ? base | (bits(signature, 16, 4) << 4) : base;
}

/// Threads in one unit of a topology level; 0 when the level is not of that type.
unsigned threadsAt(const HsiCpuRegisters& level, unsigned type) {
  return bits(level.ecx, 8, 8) == type ? bits(level.ebx, 0, 16) : 0;
}

}  // namespace

CpuidLeaves readCpuid() {
  CpuidLeaves leaves;
  leaves.vendor = readLeaf(0);
  leaves.features = readLeaf(1);
  leaves.smtLevel = readLeaf(0xb, 0);
  leaves.coreLevel = readLeaf(0xb, 1);
  leaves.extendedMaximum = readLeaf(0x80000000);
  leaves.extended = readLeaf(0x80000001);
  for (std::uint32_t i = 0; i < leaves.brand.size(); ++i) {
    leaves.brand[i] = readLeaf(0x80000002 + i);
  }
  return leaves;
}

CpuidLeaves readCpuidOn(unsigned cpu) {
  const PinnedThread pinned(cpu);
  return readCpuid();
}

HsiCore identificationOf(const CpuidLeaves& leaves) {
  const std::uint32_t signature = leaves.features.eax;
  HsiCore core{};
  core.family = static_cast<std::uint8_t>(familyOf(signature));
  core.model = static_cast<std::uint8_t>(modelOf(signature));
  core.type = static_cast<std::uint8_t>(bits(signature, 12, 2));
  core.stepping = static_cast<std::uint8_t>(bits(signature, 0, 4));
  core.vendor = leaves.vendor;
  core.features = leaves.features;
  core.extendedMaximum = leaves.extendedMaximum;
  core.extended = leaves.extended;
  return core;
}

HsiCpuModel brandOf(const CpuidLeaves& leaves) {
  HsiCpuModel raw{};
  static_assert(sizeof leaves.brand == sizeof raw);
  std::memcpy(raw.data(), leaves.brand.data(), raw.size());
  std::string_view text(raw.data(), strnlen(raw.data(), raw.size()));
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  text = text.substr(0, text.find_last_not_of(' ') + 1);
  HsiCpuModel brand{};
  text.copy(brand.data(), brand.size());
  return brand;
}

unsigned threadsPerCore(const CpuidLeaves& leaves) {
  constexpr unsigned kSmtLevel = 1;
  return threadsAt(leaves.smtLevel, kSmtLevel);
}

unsigned threadsPerPackage(const CpuidLeaves& leaves) {
  constexpr unsigned kCoreLevel = 2;
  return threadsAt(leaves.coreLevel, kCoreLevel);
}

}  // namespace LinuxHost
