#pragma once

#include <array>

#include "platform/system_info.h"

/// What a CPU says about itself through the CPUID instruction. On machines without that instruction
/// every register reads as zero.
namespace LinuxHost {

/// The leaves that the processor nodes are made from. All registers of a leaf that the CPU lacks
/// are zero.
struct CpuidLeaves {
  HsiCpuRegisters vendor;                  ///< leaf 0
  HsiCpuRegisters features;                ///< leaf 1
  HsiCpuRegisters smtLevel;                ///< leaf 0xb, first level of the topology: a core
  HsiCpuRegisters coreLevel;               ///< leaf 0xb, second level: a package
  HsiCpuRegisters extendedMaximum;         ///< leaf 0x80000000
  HsiCpuRegisters extended;                ///< leaf 0x80000001
  std::array<HsiCpuRegisters, 3> brand{};  ///< leaves 0x80000002 to 0x80000004
};

/// The leaves of the CPU on which the calling thread runs.
CpuidLeaves readCpuid();

/// The leaves of the given CPU: moves the calling thread there and afterwards restores its
/// affinity. If the thread may not move, the CPU that it is on answers.
CpuidLeaves readCpuidOn(unsigned cpu);

/// The identification of a core: the registers, with family, model, type and stepping from leaf 1.
HsiCore identificationOf(const CpuidLeaves& leaves);

/// The brand text without the spaces that some CPUs have at its beginning or end, padded with NULs;
/// without a NUL when it fills all 48 bytes.
HsiCpuModel brandOf(const CpuidLeaves& leaves);

/// How many threads, running or not, each core of this kind has; 0 when the CPU does not say.
unsigned threadsPerCore(const CpuidLeaves& leaves);

/// How many threads, running or not, each package of this kind has; 0 when the CPU does not say.
unsigned threadsPerPackage(const CpuidLeaves& leaves);

}  // namespace LinuxHost
