#pragma once

#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// Tables of the broker record. Slots that the object manager leaves null are null here.
CMPIBrokerFT* brokerTable();
CMPIBrokerEncFT* factoryTable();
CMPIBrokerExtFT* serviceTable();
CMPIBrokerMemFT* memoryTable();

}  // namespace orv::broker
