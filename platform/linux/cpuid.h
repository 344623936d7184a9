#pragma once

#include <array>

#include "platform/system_info.h"

/// What a CPU says about itself through the CPUID instruction. On machines without that instruction
/// every register reads as zero.
namespace LinuxHost {

/// The leaves that the processor nodes are made of; a leaf that the CPU lacks is zero.
struct CpuidLeaves {
  HsiCpuRegisters vendor;                  ///< leaf 0
  HsiCpuRegisters features;                ///< leaf 1
  HsiCpuRegisters smtLevel;                ///< leaf 0xb, first level of the topology: a core
  HsiCpuRegisters coreLevel;               ///< leaf 0xb, second level: a package
  HsiCpuRegisters extendedMaximum;         ///< leaf 0x80000000
  HsiCpuRegisters extended;                ///< leaf 0x80000001
  std::array<HsiCpuRegisters, 3> brand{};  ///< leaves 0x80000002 to 0x80000004
};

/// Of the CPU on which the calling thread runs.
CpuidLeaves readCpuid();

/// Of the given CPU: moves the calling thread there for the reading and restores its affinity.
/// Where the thread may not move, the CPU that it is on answers.
CpuidLeaves readCpuidOn(unsigned cpu);

/// Identification data, with family, model, type and stepping taken out of leaf 1.
HsiCore identificationOf(const CpuidLeaves& leaves);

/// The brand text without the spaces that some CPUs begin it with and others end it with, padded
/// with NULs; without a NUL when it fills all 48 bytes.
HsiCpuModel brandOf(const CpuidLeaves& leaves);

/// Threads that each core of this kind has, running or not; 0 when the CPU does not say.
unsigned threadsPerCore(const CpuidLeaves& leaves);

/// The same of a package.
unsigned threadsPerPackage(const CpuidLeaves& leaves);

}  // namespace LinuxHost
