#pragma once

#include <array>
#include <cstdint>

/// What a CPU says about itself through the CPUID instruction. On machines without that instruction
/// every register reads as zero.
namespace LinuxHost {

struct CpuidRegisters {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

/// The leaves that the processor nodes are made of; a leaf that the CPU lacks is zero.
struct CpuidLeaves {
  CpuidRegisters vendor;                  ///< leaf 0
  CpuidRegisters features;                ///< leaf 1
  CpuidRegisters smtLevel;                ///< leaf 0xb, first level of the topology: a core
  CpuidRegisters coreLevel;               ///< leaf 0xb, second level: a package
  CpuidRegisters extendedMaximum;         ///< leaf 0x80000000
  CpuidRegisters extended;                ///< leaf 0x80000001
  std::array<CpuidRegisters, 3> brand{};  ///< leaves 0x80000002 to 0x80000004
};

/// Of the CPU on which the calling thread runs.
CpuidLeaves readCpuid();

/// Of the given CPU: moves the calling thread there for the reading and restores its affinity.
/// Where the thread may not move, the CPU that it is on answers.
CpuidLeaves readCpuidOn(unsigned cpu);

constexpr std::size_t kIdentificationSize = 200;
constexpr std::size_t kBrandSize = 48;

/// The registers as 200 bytes of identification data, words in the host's byte order:
///
///   byte 0 family, 1 model, 2 type, 3 stepping
///   44 EAX, EBX, ECX, EDX of the vendor leaf
///   60 of the feature leaf
///   76 of the leaf 0x80000000
///   92 of the extended feature leaf
///
/// The rest is zero.
std::array<unsigned char, kIdentificationSize> identificationOf(const CpuidLeaves& leaves);

/// The brand text without the spaces that some CPUs begin it with and others end it with, padded
/// with NULs; without a NUL when it fills all 48 bytes.
std::array<char, kBrandSize> brandOf(const CpuidLeaves& leaves);

/// Threads that each core of this kind has, running or not; 0 when the CPU does not tell.
unsigned threadsPerCore(const CpuidLeaves& leaves);

/// The same of a package.
unsigned threadsPerPackage(const CpuidLeaves& leaves);

}  // namespace LinuxHost
