// What a firmware's table tells of a machine: a thermal zone, mains, a battery and a power meter. Their values stand in a
// page of memory that the machine's kernel leaves alone and the emulator's host writes; hardware_guest.h has the same page.
DefinitionBlock ("", "SSDT", 2, "ORVANE", "GUESTHW", 1)
{
    Scope (\_SB)
    {
        OperationRegion (FACT, SystemMemory, 0x1F000000, 0x1000)
        Field (FACT, DWordAcc, NoLock, Preserve)
        {
            TEMP, 32, // of the thermal zone, tenths of a kelvin
            MAIN, 32, // 1: the mains have input
            BSTA, 32, // of the battery; bit 0 discharging, 1 charging, 2 critical
            BREM, 32, // what is left in it, milliwatt-hours
            POWR, 32  // that the meter measures, milliwatts
        }

        Device (AC0)
        {
            Name (_HID, "ACPI0003")
            Name (_PCL, Package () { \_SB })
            Method (_PSR) { Return (MAIN) }
        }

        Device (BAT0)
        {
            Name (_HID, EisaId ("PNP0C0A"))
            Name (_UID, 0)
            Name (_PCL, Package () { \_SB })
            Method (_STA) { Return (0x1F) }
            Name (_BIF, Package ()
            {
                0,       // in milliwatts
                50000,   // design capacity
                40000,   // capacity when it was last charged
                1,       // rechargeable
                12000,   // design voltage
                4000,    // warning, which the kernel takes for the limit of "Low"
                2000,    // low
                1, 1,    // granularity
                "Reserve", "0017", "LION", "Orvane"
            })
            Method (_BST)
            {
                Local0 = Package () { 0, 5000, 0, 12000 } // state, milliwatts, what is left, millivolts
                Local0 [0] = BSTA
                Local0 [2] = BREM
                Return (Local0)
            }
        }

        Device (PMTR)
        {
            Name (_HID, "ACPI000D")
            Name (_UID, 0)
            Name (_PMC, Package ()
            {
                5,          // measures, can be limited
                0, 0,       // milliwatts, input
                100000,     // accuracy of 100 %
                0,          // time of a sample
                0, 1000,    // interval of the average
                0,          // hysteresis
                0,          // the limit cannot be set
                0, 1000000, // limits that could be
                "Meter", "0001", "Rack"
            })
            Method (_PMM) { Return (POWR) }
            Name (_PMD, Package () {})
            Name (_GAI, 1000)
            Method (_PAI, 1) { Return (0) }
            Name (_GHL, 500000)
            Method (_SHL, 1) { Return (0) }
        }
    }

    Scope (\_TZ)
    {
        ThermalZone (TZ00)
        {
            Method (_TMP) { Return (\_SB.TEMP) }
            Name (_HOT, 3632) // 90 C
            Name (_CRT, 3732) // 100 C
        }
    }
}
