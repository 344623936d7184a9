#pragma once

#include "cmpi/abi/cmpi_tables.h"

namespace orv::broker {

/// Tables of the broker record; the slots that the object manager leaves null are null.
CMPIBrokerFT* brokerTable();
CMPIBrokerEncFT* factoryTable();
CMPIBrokerExtFT* serviceTable();
CMPIBrokerMemFT* memoryTable();

}  // namespace orv::broker
