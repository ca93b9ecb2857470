// Every key, keyword, value prefix and word the reply parsers look for, in one table: the adapter
// (its family comes from identification), the command, the reply, the function it is parsed for,
// and what the parse must change. Each row names only what changes; every other probed field of
// the four records and of the discovered state must keep the value it had before the parse.
//
// The adapter has two ports of two functions. Records are named by port and function ("01" is
// function 1 of port 0); a probe without "@" is the parsed record's, "@*" means all four.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "ModuleState.h"
#include "Managed/AdapterSettings.h"
#include "Parsers/DiscoveredState.h"

namespace {

struct KeyRow {
  KeyRow(UINT32 VidDid, UINTN Code, std::string Reply, std::string Changes, UINT8 Port = 0, UINT8 Pf = 0,
         UINT32 PfType = 9, UINT16 PciAddress = 0, UINT16 Subsystem = 0)
      : VidDid(VidDid), Code(Code), Reply(std::move(Reply)), Changes(std::move(Changes)), Port(Port), Pf(Pf),
        PfType(PfType), PciAddress(PciAddress), Subsystem(Subsystem) {}
  UINT32 VidDid;
  UINTN Code;
  std::string Reply;
  std::string Changes;
  UINT8 Port, Pf; // the record parsed: function min(Pf, 1) of Port, with Pf as its PfIndex
  UINT32 PfType;
  UINT16 PciAddress, Subsystem;
};

const std::string kLongName(300, 'n');
const std::string kDots(31, '.');
const std::string kLongVersion = "1234567890123456789012345678901234567890";

// clang-format off
const KeyRow kRows[] = {
    // ---- Value prefix by vendor and family: SHOW_PF_WWPN of an FC function copies 16 characters
    // from the value start into current slot 1.
    {0x10778070, SHOW_PF_WWPN, "status=0 data=0011223344556677", "Cur1=0011223344556677;Cur1B=0011223344556677", 0, 0, 1},
    {0x10772261, SHOW_PF_WWPN, "x retdata=\r\n1122334455667788", "Cur1=1122334455667788;Cur1B=1122334455667788", 0, 0, 1},
    {0x10772261, SHOW_PF_WWPN, "retdata=1122334455667788", "Cur1=RETDATA=11223344", 0, 0, 1},
    {0x10772031, SHOW_PF_WWPN, "retdata=aabbccddeeff0011", "Cur1=AABBCCDDEEFF0011;Cur1B=AABBCCDDEEFF0011", 0, 0, 1},
    {0x10772031, SHOW_PF_WWPN, "retdata=\r\naabbccddeeff0011", "Cur1=\r\nAABBCCDDEEFF00", 0, 0, 1},
    {0x15B31013, SHOW_PF_WWPN, "x=1 data=2233445566778899", "Cur1=2233445566778899;Cur1B=2233445566778899", 0, 0, 1},
    {0x80861572, SHOW_PF_WWPN, "permanentaddress=1020304050607080", "Cur1=1020304050607080;Cur1B=1020304050607080", 0, 0, 1},
    {0x80861572, SHOW_PF_WWPN, "retdata=1020304050607080", "Cur1=RETDATA=10203040", 0, 0, 1},
    {0x10DFE200, SHOW_PF_WWPN, "data=99 retdata=3132333435363738", "Cur1=3132333435363738;Cur1B=3132333435363738", 0, 0, 1},
    {0x19A20710, SHOW_PF_WWPN, "xretdata=4142434445464748", "Cur1=4142434445464748;Cur1B=4142434445464748", 0, 0, 1},
    {0x10DFE200, SHOW_PF_WWPN, "0011223344556677 trailing", "Cur1=0011223344556677;Cur1B=0011223344556677", 0, 0, 1},
    // "data=" inside "retdata=" is the first occurrence.
    {0x10778070, SHOW_PF_WWPN, "retdata=ABCD data=0011223344556677", "Cur1=ABCD DATA=001122;Cur1B=ABCDEEEEEEEEEEEE", 0, 0, 1},

    // ---- Address commands: slot by function type, 12 or 16 digits, 6 or 8 bytes.
    {0x10DFE200, SHOW_PF_MFG_MAC, "retdata=20000090fa1b2c3d", "Mfg0=20000090FA1B;Mfg0B=20000090FA1BEEEE", 0, 0, 2},
    {0x10DFE200, SHOW_PF_MFG_MAC, "retdata=20000090fa1b2c3d", "Mfg0=20000090FA1B;Mfg0B=20000090FA1BEEEE", 0, 0, 0},
    {0x10DFE200, SHOW_PF_MAC, "retdata=20000090fa1b2c3d", "Cur0=20000090FA1B;Cur0B=20000090FA1BEEEE", 0, 0, 2},
    {0x10DFE200, SHOW_PF_MAC, "retdata=20000090fa1b2c3d", "Cur0=20000090FA1B;Cur0B=20000090FA1BEEEE", 0, 0, 1},
    {0x10DFE200, SHOW_PF_MFG_WWNN, "retdata=20000090fa1b2c3d", "Mfg1=20000090FA1B2C3D;Mfg1B=20000090FA1B2C3D", 0, 0, 2},
    {0x10DFE200, SHOW_PF_MFG_WWNN, "retdata=20000090fa1b2c3d", "Mfg0=20000090FA1B2C3D;Mfg0B=20000090FA1B2C3D", 0, 0, 1},
    {0x10DFE200, SHOW_PF_WWNN, "retdata=20000090fa1b2c3d", "Cur1=20000090FA1B2C3D;Cur1B=20000090FA1B2C3D", 0, 0, 2},
    {0x10DFE200, SHOW_PF_WWNN, "retdata=20000090fa1b2c3d", "Cur0=20000090FA1B2C3D;Cur0B=20000090FA1B2C3D", 0, 0, 3},
    {0x10DFE200, SHOW_PF_MFG_WWPN, "retdata=20000090fa1b2c3d", "Mfg2=20000090FA1B2C3D;Mfg2B=20000090FA1B2C3D", 0, 0, 2},
    {0x10DFE200, SHOW_PF_MFG_WWPN, "retdata=20000090fa1b2c3d", "Mfg1=20000090FA1B2C3D;Mfg1B=20000090FA1B2C3D", 0, 0, 7},
    {0x10DFE200, SHOW_PF_WWPN, "retdata=20000090fa1b2c3d", "Cur2=20000090FA1B2C3D;Cur2B=20000090FA1B2C3D", 0, 0, 2},
    {0x10DFE200, SHOW_PF_WWPN, "retdata=20000090fa1b2c3d", "Cur1=20000090FA1B2C3D;Cur1B=20000090FA1B2C3D", 0, 0, 0},
    // A short run fills the leading bytes only (an odd run starts with a half byte); a value that
    // starts with no hexadecimal digit changes no byte.
    {0x10DFE200, SHOW_PF_MAC, "retdata=12ab", "Cur0=12AB;Cur0B=12ABEEEEEEEEEEEE", 0, 0, 0},
    {0x10DFE200, SHOW_PF_MAC, "retdata=abc", "Cur0=ABC;Cur0B=0ABCEEEEEEEEEEEE", 0, 0, 0},
    {0x10DFE200, SHOW_PF_MAC, "retdata=zz0102030405", "Cur0=ZZ0102030405", 0, 0, 0},
    // QLogic8070 MACs: quoted and colon-separated; an all-zero current MAC means the manufacturer MAC.
    {0x10778070, SHOW_PF_MAC, "data=\"00:0e:1e:aa:bb:cc\"", "Cur0=000E1EAABBCC;Cur0B=000E1EAABBCCEEEE", 0, 0, 0},
    {0x10771644, SHOW_PF_MFG_MAC, "data=\"00:0e:1e:aa:bb:cc\"", "Mfg0=000E1EAABBCC;Mfg0B=000E1EAABBCCEEEE", 0, 0, 2},
    {0x10778070, SHOW_PF_MAC, "data=\"00:00:00:00:00:00\"", "Cur0=0000C9FEDCBA;Cur0B=0000C9FEDCBAEEEE", 0, 0, 0},
    {0x10778070, SHOW_PF_MFG_MAC, "data=\"00:00:00:00:00:00\"", "Mfg0=000000000000;Mfg0B=000000000000EEEE", 0, 0, 0},
    // Shorter than 17 characters: the text stays, and its bytes are converted again.
    {0x10778070, SHOW_PF_MAC, "data=\"00:0e:1e:aa:bb:", "Cur0B=0000C9012345EEEE", 0, 0, 0},
    {0x10778070, SHOW_PF_MAC, "data=\"00:0e:1e:aa:bb:c", "Cur0=000E1EAABBC;Cur0B=0000E1EAABBCEEEE", 0, 0, 0},
    // The text ends at a NUL (here the first character); colons are skipped, not counted.
    {0x10778070, SHOW_PF_MAC, std::string("data=\0\"00:0e:1e:aa:bb:cc\"", 25), "Cur0B=0000C9012345EEEE", 0, 0, 0},
    {0x10778070, SHOW_PF_MAC, "data=\"00:11:22:33:44::", "Cur0=0011223344;Cur0B=0011223344EEEEEE", 0, 0, 0},
    {0x10DFE200, SHOW_PF_MAC, "retdata=a", "Cur0=A;Cur0B=0AEEEEEEEEEEEEEE", 0, 0, 0},

    // ---- SHOW_PORT_EN: "Disabl" for QLogic, "disabl" for Emulex and Mellanox, nothing for others.
    {0x10772031, SHOW_PORT_EN, "retdata=Port Disabl", "PortEn=0;PortEnApply=0"},
    {0x10772031, SHOW_PORT_EN, "retdata=Port disabled", "PortEn=1;PortEnApply=1"},
    {0x10772031, SHOW_PORT_EN, "retdata=Enabled", "PortEn=1;PortEnApply=1"},
    {0x10DFE200, SHOW_PORT_EN, "retdata=Port Disabled", "PortEn=1;PortEnApply=1"},
    {0x10DFE200, SHOW_PORT_EN, "retdata=disabl", "PortEn=0;PortEnApply=0"},
    {0x15B31013, SHOW_PORT_EN, "data=disabled", "PortEn=0;PortEnApply=0"},
    {0x15B31017, SHOW_PORT_EN, "data=Disabled", "PortEn=1;PortEnApply=1"},
    {0x80861572, SHOW_PORT_EN, "permanentaddress=disabled", ""},
    {0x19A20710, SHOW_PORT_EN, "retdata=disabled", ""},

    // ---- SHOW_BOOT_EN: QLogic2261 "Disabl"; QLogic8070 "Disabled" for its whole port, from the
    // port's first function; other QLogic nothing; Emulex and Mellanox "disabl".
    {0x10772261, SHOW_BOOT_EN, "retdata=\r\nDisabl", "BootEn=0;BootEnApply=0"},
    {0x10772261, SHOW_BOOT_EN, "retdata=\r\ndisabled", "BootEn=1;BootEnApply=1"},
    {0x10778070, SHOW_BOOT_EN, "data=\"Disabled\"", "BootEn@00=0;BootEnApply@00=0;BootEn@01=0;BootEnApply@01=0"},
    {0x10778070, SHOW_BOOT_EN, "data=\"Disabled\"", "BootEn@10=0;BootEnApply@10=0;BootEn@11=0;BootEnApply@11=0", 1, 0},
    {0x10778070, SHOW_BOOT_EN, "data=\"Disable\"", "BootEn@00=1;BootEnApply@00=1;BootEn@01=1;BootEnApply@01=1"},
    {0x10778070, SHOW_BOOT_EN, "data=\"Disabled\"", "", 0, 1},
    {0x10772031, SHOW_BOOT_EN, "retdata=Disabled", ""},
    {0x10DFE200, SHOW_BOOT_EN, "retdata=disabl", "BootEn=0;BootEnApply=0"},
    {0x10DF0720, SHOW_BOOT_EN, "retdata=Disabled", "BootEn=1;BootEnApply=1"},
    {0x15B31017, SHOW_BOOT_EN, "data=disabled", "BootEn=0;BootEnApply=0"},
    {0x80861572, SHOW_BOOT_EN, "permanentaddress=disabled", ""},
    {0x19A20700, SHOW_BOOT_EN, "retdata=disabled", ""},

    // ---- SHOW_VERSION, read on the adapter's first function only.
    {0x10778070, SHOW_VERSION, "data=\"MBI:7.10.37,UEFI:4.2.1,MFW:8.10.12\"", "Fw0@*=7.10.37;Fw1@*=4.2.1;Fw2@*=8.10.12"},
    {0x10778070, SHOW_VERSION, "data=\"MFW:8.1\",\"MBI:7.1", "Fw0@*=7.1;Fw2@*=8.1"},
    {0x10778070, SHOW_VERSION, "data=\"MBI:7.10.37\"", "", 0, 1},
    {0x10778070, SHOW_VERSION, "data=\"no tags here\"", ""},
    {0x10778070, SHOW_VERSION, "data=\"UEFI:6,MBI:" + kLongVersion + "\"", "Fw0@*=" + kLongVersion.substr(0, 31) + ";Fw1@*=6"},
    {0x10778070, SHOW_VERSION, "data=\"MFW:8.1\001\"", "Fw2@*=8.1\001"},
    {0x10772031, SHOW_VERSION, "retdata=1.2,3.4", ""},
    {0x15B31013, SHOW_VERSION, "data=14.20.1010,1.5 9", "Fw0@00=14.20.1010;Fw1@00=1.5;Fw0@10=14.20.1010;Fw1@10=1.5"},
    {0x15B31017, SHOW_VERSION, "14.20.1010,1.5", ""},
    {0x19A20700, SHOW_VERSION, "retdata=1.1,2.2 3.3,4.4", "Fw0=1.1;Fw1=2.2;Fw2=3.3"},
    {0x19A20710, SHOW_VERSION, "retdata=1.1", "Fw0=1.1;Fw1=;Fw2="},
    {0x19A20710, SHOW_VERSION, "retdata=1.1", "", 1, 0},
    {0x10DFE200, SHOW_VERSION, "retdata=12.0.1,9", "Fw0=12.0.1"},
    {0x80861572, SHOW_VERSION, "permanentaddress=1.2.3 4", "Fw0=1.2.3"},

    // ---- SHOW_PF_TYPE: Emulex0700/0710 personality within the first 5 characters; QLogic8070
    // quoted words within the first 10, appended to the type table at mPfTypeCount (2 here).
    {0x19A20700, SHOW_PF_TYPE, "retdata=FCoE", "CurPers=2;TgtPers=2"},
    {0x19A20700, SHOW_PF_TYPE, "retdata= FCoE", "CurPers=2;TgtPers=2"},
    {0x19A20700, SHOW_PF_TYPE, "retdata=  FCoE", "CurPers=0;TgtPers=0"},
    {0x19A20710, SHOW_PF_TYPE, "retdata=iSCSI", "CurPers=3;TgtPers=3"},
    {0x19A20710, SHOW_PF_TYPE, "retdata= iSCSI", "CurPers=0;TgtPers=0"},
    {0x19A20710, SHOW_PF_TYPE, "retdata=NIC", "CurPers=0;TgtPers=0"},
    {0x10DFE200, SHOW_PF_TYPE, "retdata=FCoE", ""},
    {0x10772031, SHOW_PF_TYPE, "\"Ethernet\"", ""},
    {0x10778070, SHOW_PF_TYPE, "data=\"Ethernet\"", "PfType=0;Type2=0;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data= \"Ethernet\"", "PfType=5;Type2=5;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=    \"FCoE\"", "PfType=2;Type2=2;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=     \"FCoE\"", "PfType=5;Type2=5;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=   \"iSCSI\"", "PfType=3;Type2=3;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=    \"iSCSI\"", "PfType=5;Type2=5;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=  \"Disable", "PfType=7;Type2=7;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=\"Disabled\"", "PfType=7;Type2=7;TypeCount=3"},
    {0x10778070, SHOW_PF_TYPE, "data=\"FC\"", "PfType=5;Type2=5;TypeCount=3"},

    // ---- SHOW_SRIOV, on the adapter's first function: QLogic8070 every function of every port,
    // Mellanox1013 every port's record.
    {0x10778070, SHOW_SRIOV, "data=\"Enable\"", "Sriov@*=1"},
    {0x10778070, SHOW_SRIOV, "data=\"Disabled\"", "Sriov@*=0"},
    {0x10778070, SHOW_SRIOV, "data=\"Enabled\"", "", 0, 1},
    {0x15B31013, SHOW_SRIOV, "data=enabled", "Sriov@00=1;Sriov@10=1"},
    {0x15B31013, SHOW_SRIOV, "data=Enabled", "Sriov@00=0;Sriov@10=0"},
    {0x15B31013, SHOW_SRIOV, "data=enabled", "", 1, 0},
    {0x15B31017, SHOW_SRIOV, "data=enabled", ""},
    {0x10DFE200, SHOW_SRIOV, "retdata=enabled", ""},

    // ---- SHOW_LINK_CONFIG, Emulex0720 only; subsystem 0xE868 looks for the 4 x 10G layout.
    {0x10DF0720, SHOW_LINK_CONFIG, "retdata=ELX_4x10G", "Link=3;ActiveLink=3", 0, 0, 9, 0, 0xE868},
    {0x10DF0722, SHOW_LINK_CONFIG, "retdata=ELX_4x1G", "Link=2;ActiveLink=2", 0, 0, 9, 0, 0xE868},
    {0x10DF0724, SHOW_LINK_CONFIG, "retdata=ELX_4x1G", "Link=1;ActiveLink=1", 0, 0, 9, 0, 0x11F9},
    {0x10DF0720, SHOW_LINK_CONFIG, "retdata=ELX_4x10G", "Link=0;ActiveLink=0", 0, 0, 9, 0, 0x11F9},
    {0x10DFE200, SHOW_LINK_CONFIG, "retdata=ELX_4x1G", ""},

    // ---- SHOW_UMC (QLogic8070 NPAR), on the adapter's first function.
    {0x10778070, SHOW_UMC, "data=\"NPAR\"", "CurUmc=1;TgtUmc=1"},
    {0x10778070, SHOW_UMC, "data=\"Default\"", "CurUmc=0;TgtUmc=0"},
    {0x10778070, SHOW_UMC, "data=\"NPAR\"", "", 1, 0},
    {0x10772031, SHOW_UMC, "\"NPAR\"", ""},

    // ---- SHOW_PF_BANDWIDTH / SHOW_PF_RATE_LIMIT (QLogic8070), on the port's first function.
    {0x10778070, SHOW_PF_BANDWIDTH, "data=\"25,75\"", "MinBw@00=25;MinBw@01=75"},
    {0x10778070, SHOW_PF_RATE_LIMIT, "data=\"100,50\"", "MaxBw@10=100;MaxBw@11=50", 1, 0},
    {0x10778070, SHOW_PF_BANDWIDTH, "data=\"25,75\"", "", 0, 1},
    // A longer element is cut to three characters; a number the reply ends in is not read.
    {0x10778070, SHOW_PF_BANDWIDTH, "data=\"1000,50\"", "MinBw@00=100;MinBw@01=50"},
    {0x10778070, SHOW_PF_BANDWIDTH, "data=\"25,75", "MinBw@00=25"},
    {0x10778070, SHOW_PF_BANDWIDTH, "data=", ""},
    {0x10778070, SHOW_PF_RATE_LIMIT, "data=25,75", ""},
    {0x10772031, SHOW_PF_BANDWIDTH, "\"25,75\"", ""},

    // ---- SHOW_MAX_LINK_SPEED: decimal for QLogic2261, hexadecimal for Mellanox; "%d Gb/s" in 9
    // characters and the speed with bit 14 set.
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n16", "Speed=16 Gb/s;SpeedCode=0x4010"},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=19", "Speed=25 Gb/s;SpeedCode=0x4019"},
    {0x15B31017, SHOW_MAX_LINK_SPEED, "data=64\r\n", "Speed=100 Gb/s;SpeedCode=0x4064"},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n1000000", "Speed=1000000 G;SpeedCode=0x4240"},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n0", ""},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\nfast", ""},
    // The number as the library conversions read it: blanks, tabs and leading zeros skipped, "x"
    // only after a zero, and nothing from text that starts otherwise.
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n\t 16", "Speed=16 Gb/s;SpeedCode=0x4010"},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n16\r\nmaximum of the port in Gb/s\r\n", "Speed=16 Gb/s;SpeedCode=0x4010"},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n0 5", ""},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n0x16", ""},
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n ", ""},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=019", "Speed=25 Gb/s;SpeedCode=0x4019"},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=0X0019", "Speed=25 Gb/s;SpeedCode=0x4019"},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=x19", ""},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=0", ""},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=0x0", ""},
    // Sixteen significant digits still fit; "%d" prints the low 32 bits.
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=1000000000000019", "Speed=25 Gb/s;SpeedCode=0x4019"},
    {0x10772031, SHOW_MAX_LINK_SPEED, "retdata=16", ""},
    {0x10778070, SHOW_MAX_LINK_SPEED, "data=16", ""},
    // A number no UINTN holds is ignored instead of tripping the library's overflow assertion.
    {0x10772261, SHOW_MAX_LINK_SPEED, "retdata=\r\n123456789012345678901234", ""},
    {0x15B31013, SHOW_MAX_LINK_SPEED, "data=123456789abcdef01", ""},

    // ---- SHOW_PXE_VLANID: Mellanox1013 4 decimal characters, 4095 stored as 0; QLogic 8070 and
    // 1644 a quoted 1 to 4 digits for the whole port, 4095 kept.
    {0x15B31013, SHOW_PXE_VLANID, "data=0100\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x15B31013, SHOW_PXE_VLANID, "data=4095", "Vlan=0;CurVlan=4095;TgtVlan=4095"},
    {0x15B31013, SHOW_PXE_VLANID, "data=12345", "Vlan=1234;CurVlan=1234;TgtVlan=1234"},
    {0x15B31017, SHOW_PXE_VLANID, "data=0100", ""},
    {0x10778070, SHOW_PXE_VLANID, "data=\"100\"", "Vlan@00=100;Vlan@01=100"},
    {0x10771644, SHOW_PXE_VLANID, "data=\"4095\"", "Vlan@10=4095;Vlan@11=4095", 1, 1},
    {0x10778070, SHOW_PXE_VLANID, "data=\"\"", "Vlan@00=0;Vlan@01=0"},
    {0x10778070, SHOW_PXE_VLANID, "data=\"12345\"", ""},
    {0x10778070, SHOW_PXE_VLANID, "data=100", ""},
    {0x10778070, SHOW_PXE_VLANID, "data=\"12", ""},
    {0x10778070, SHOW_PXE_VLANID, "data=12\"", ""},
    {0x10778070, SHOW_PXE_VLANID, "data=", ""},
    {0x10771656, SHOW_PXE_VLANID, "data=\"100\"", ""},

    // ---- SHOW_PXE_VLAN (QLogic 8070 and 1644).
    {0x10778070, SHOW_PXE_VLAN, "data=\"Enable\"", "PxeVlan=1"},
    {0x10771644, SHOW_PXE_VLAN, "data=\"Disabled\"", "PxeVlan=0;Vlan@00=0;Vlan@01=0"},
    {0x10771656, SHOW_PXE_VLAN, "data=\"Disabled\"", ""},

    // ---- Codes without a parse step.
    {0x10DFE200, SET_PORT_EN, "retdata=disabled", ""},
    {0x10DFE200, SHOW_PF_TAR_WWPN1, "retdata=2000000000000001", ""},
    {0x10DFE200, 200, "retdata=disabled", ""},

    // ---- SHOW_PF_INFO, Emulex0710 keys.
    {0x19A20710, SHOW_PF_INFO, "retdata=PortEn=disabled\r\n", "PortEn=0;PortEnApply=0"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PortEn=Disabled\r\n", "PortEn=1;PortEnApply=1"},
    {0x19A20710, SHOW_PF_INFO, "retdata=FirmwareVersions=1.1,2.2 3.3,4.4\r\n", "Fw0=1.1;Fw1=2.2;Fw2=3.3"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfCount=16\r\n", "CurPfCount=16;TgtPfCount=16;FnCount=16"},
    {0x19A20712, SHOW_PF_INFO, "retdata=PfCount=123\r\n", "CurPfCount=12;TgtPfCount=12;FnCount=12"},
    {0x19A20710, SHOW_PF_INFO, "retdata=SRIOV=enabled\r\n", "Sriov=1"},
    {0x19A20710, SHOW_PF_INFO, "retdata=SRIOV=Enabled\r\n", "Sriov=0"},
    // The personality is the type of PCI function 2 (the low three bits of the address).
    {0x19A20710, SHOW_PF_INFO, "retdata=PfType=FCoE\r\n", "PfType=2;CurPers=2;TgtPers=2", 0, 0, 9, 0x0302},
    {0x19A20714, SHOW_PF_INFO, "retdata=PfType=iSCSI\r\n", "PfType=3;CurPers=3;TgtPers=3", 0, 0, 9, 0x030A},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfType=iSCSI\r\n", "PfType=3", 0, 0, 9, 0x0306},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfType=NIC\r\n", "PfType=0;CurPers=0;TgtPers=0", 0, 0, 9, 0x0302},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfType=fcoe\r\n", "PfType=0"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfBootEnable=disabled\r\n", "BootEn=0;BootEnApply=0"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfBootEnable=disabled \r\n", "BootEn=1;BootEnApply=1"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfMAC=0000c9aabbcc\r\n", "Cur0=0000c9aabbcc;Cur0B=0000C9AABBCCEEEE"},
    {0x19A20710, SHOW_PF_INFO, "retdata=MFG_PfMAC=0000c9112233\r\n",
     "Mfg0=0000c9112233;Mfg0B=0000C9112233EEEE;Cur0=0000c9112233;Cur0B=0000C9112233EEEE"},
    {0x19A20710, SHOW_PF_INFO, "retdata=WWNN=20000000c9000002\r\n", "Cur1=20000000c9000002;Cur1B=20000000C9000002"},
    {0x19A20710, SHOW_PF_INFO, "retdata=MFG_WWNN=20000000c9000001\r\n",
     "Mfg1=20000000c9000001;Mfg1B=20000000C9000001;Cur1=20000000c9000001;Cur1B=20000000C9000001"},
    {0x19A20710, SHOW_PF_INFO, "retdata=WWPN=10000000c9000003\r\n", "Cur2=10000000c9000003;Cur2B=10000000C9000003"},
    {0x19A20710, SHOW_PF_INFO, "retdata=MFG_WWPN=10000000c9000004\r\n",
     "Mfg2=10000000c9000004;Mfg2B=10000000C9000004;Cur2=10000000c9000004;Cur2B=10000000C9000004"},
    // Runs longer than the address: the text takes its digits, the bytes stay.
    {0x19A20710, SHOW_PF_INFO,
     "retdata=PfMAC=0000c9aabbcc00\r\nMFG_PfMAC=0000c9ddeeff00\r\nWWNN=20000000c900000200\r\n"
     "MFG_WWNN=20000000c900000100\r\nWWPN=10000000c900000300\r\nMFG_WWPN=10000000c900000400\r\n",
     "Cur0=0000c9aabbcc;Mfg0=0000c9ddeeff;Cur1=20000000c9000002;Mfg1=20000000c9000001;"
     "Cur2=10000000c9000003;Mfg2=10000000c9000004"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfBandwidth=32\r\n", "MinBw=50"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfBandwidth=100\r\n", "MinBw=16"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfBandwidth=zz\r\n", ""},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfRateLimit=641\r\n", "MaxBw=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfRateLimit=zz\r\n", ""},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=0x0064\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=0x00641\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=0064\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=0FFF\r\n", "Vlan=0;CurVlan=4095;TgtVlan=4095"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=00641\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=64\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=zz\r\n", "Vlan=0;CurVlan=0;TgtVlan=0"},
    {0x19A20710, SHOW_PF_INFO, "retdata=PfVLANID=0064\r\n", "Vlan=100;CurVlan=100;TgtVlan=100", 1, 0},
    // "PfVLANID=0x" cut by the reply's end is not that key.
    {0x19A20710, SHOW_PF_INFO, "retdata=\r\nPfVLANID=0", "Vlan=0;CurVlan=0;TgtVlan=0"},
    {0x19A20710, SHOW_PF_INFO, "retdata=InitiatorIscsiName=iqn.2001-05.com.example:host\r\nPfCount=2",
     "Ini=iqn.2001-05.com.example:host;CurPfCount=2;TgtPfCount=2;FnCount=2"},
    {0x19A20710, SHOW_PF_INFO, "retdata=InitiatorIscsiName=" + kLongName, "Ini=" + kLongName.substr(0, 254)},
    // Keys of the other dialects mean nothing here.
    {0x19A20710, SHOW_PF_INFO, "retdata=PortEnable=Disabled\r\nMAC=0000c9aabbcc\r\nUMCState=Enabled\r\n", ""},

    // ---- SHOW_PF_INFO, Emulex0720 keys; the type table is indexed by PfIndex (3 here).
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=NIC\r\n", "PfType=0;Type3=0", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=FCoE\r\n", "PfType=2;Type3=2", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=iSCSI\r\n", "PfType=3;Type3=3", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=RoCE\r\n", "PfType=6;Type3=6", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=FC\r\n", "PfType=1;Type3=1", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=Disable\r\n", "PfType=7;Type3=7", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=Disabled\r\n", "PfType=5;Type3=5", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=fc\r\n", "PfType=5;Type3=5", 0, 3},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=FC\r\n", "PfType=1;Type15=1", 0, 15},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfType=FC\r\n", "PfType=1", 0, 16},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PortEnable=Disabled\r\n", "PortEn=0;PortEnApply=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PortEnable=disabled\r\n", "PortEn=1;PortEnApply=1"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PortEnable=Disabled\001\r\n", "PortEn=1;PortEnApply=1"},
    {0x10DF0722, SHOW_PF_INFO, "retdata=FirmwareVersions=12.0.1,12.0.2,12.0.3,12.0.4\r\n",
     "Fw0=12.0.1;Fw1=12.0.2;Fw2=12.0.3"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=SRIOVState=Enabled\r\n", "Sriov=1"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=SRIOVState=enabled\r\n", "Sriov=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=UMCState=Enabled\r\n", "CurUmc=1;TgtUmc=1"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=UMCState=ENABLED\r\n", "CurUmc=0;TgtUmc=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=UMCState=Enabled\r\n", "", 0, 1},
    {0x10DF0724, SHOW_PF_INFO, "retdata=UMCState=Enabled\r\n", "", 1, 0},
    {0x10DF0720, SHOW_PF_INFO, "retdata=BootEnable=Disabled\r\n", "BootEn=0;BootEnApply=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=BootEnable=Disabled \r\n", "BootEn=1;BootEnApply=1"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MAC=0000c9aabbcc\r\n", "Cur0=0000c9aabbcc;Cur0B=0000C9AABBCCEEEE"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MfgMAC=0000c9112233\r\n",
     "Mfg0=0000c9112233;Mfg0B=0000C9112233EEEE;Cur0=0000c9112233;Cur0B=0000C9112233EEEE"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MinBandwidth=25\r\n", "MinBw=25"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MinBandwidth=abc\r\n", "MinBw=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MAC=0000c9aabbcc\r\nMinBandwidth=abc\r\n",
     "Cur0=0000c9aabbcc;Cur0B=0000C9AABBCCEEEE;MinBw=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MinBandwidth=" + std::string(31, '0') + "25\r\n", "MinBw=2"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MaxBandwidth=300\r\n", "MaxBw=44"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfVLANID=100\r\n", "Vlan=100;CurVlan=100;TgtVlan=100"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfVLANID=4095\r\n", "Vlan=0;CurVlan=4095;TgtVlan=4095"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PfVLANID=0x10\r\n", "Vlan=0;CurVlan=0;TgtVlan=0"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=WWNN=20000000c9000002\r\n", "Cur1=20000000c9000002;Cur1B=20000000C9000002"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MFG_WWNN=20000000c9000001\r\n",
     "Mfg1=20000000c9000001;Mfg1B=20000000C9000001;Cur1=20000000c9000001;Cur1B=20000000C9000001"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=WWPN=10000000c9000003\r\n", "Cur2=10000000c9000003;Cur2B=10000000C9000003"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=MFG_WWPN=10000000c9000004\r\n",
     "Mfg2=10000000c9000004;Mfg2B=10000000C9000004;Cur2=10000000c9000004;Cur2B=10000000C9000004"},
    {0x10DF0720, SHOW_PF_INFO,
     "retdata=MAC=0000c9aabbcc00\r\nMfgMAC=0000c9ddeeff00\r\nWWNN=20000000c900000200\r\n"
     "MFG_WWNN=20000000c900000100\r\nWWPN=10000000c900000300\r\nMFG_WWPN=10000000c900000400\r\n",
     "Cur0=0000c9aabbcc;Mfg0=0000c9ddeeff;Cur1=20000000c9000002;Mfg1=20000000c9000001;"
     "Cur2=10000000c9000003;Mfg2=10000000c9000004"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=InitiatorIscsiName=iqn.2001-05.com.example:h2\r\n",
     "Ini=iqn.2001-05.com.example:h2"},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PortEn=disabled\r\nSRIOV=enabled\r\nPfCount=4\r\n", ""},
    {0x10DF0720, SHOW_PF_INFO, "retdata=xAC=0000c9aabbcc\r\n", ""},
    {0x10DF0720, SHOW_PF_INFO, "retdata=PortEnable=Disabled\r\nMfgMAC=", "PortEn=0;PortEnApply=0;Mfg0=;Cur0="},
    // Every key of the table in one reply, the last one found last.
    {0x10DF0720, SHOW_PF_INFO,
     "retdata=PfType=FCoE\r\nPortEnable=Disabled\r\nFirmwareVersions=1.1,2.2,3.3\r\nSRIOVState=Enabled\r\n"
     "UMCState=Enabled\r\nBootEnable=Disabled\r\nMAC=0000c9aabbcc\r\nMfgMAC=0000c9112233\r\nMinBandwidth=10\r\n"
     "MaxBandwidth=90\r\nPfVLANID=5\r\nWWNN=20000000c9000002\r\nMFG_WWNN=20000000c9000001\r\n"
     "WWPN=10000000c9000003\r\nMFG_WWPN=10000000c9000004\r\nInitiatorIscsiName=iqn.x\r\n",
     "PfType=2;Type0=2;PortEn=0;PortEnApply=0;Fw0=1.1;Fw1=2.2;Fw2=3.3;Sriov=1;CurUmc=1;TgtUmc=1;BootEn=0;"
     "BootEnApply=0;Cur0=0000c9aabbcc;Cur0B=0000C9AABBCCEEEE;Mfg0=0000c9112233;Mfg0B=0000C9112233EEEE;MinBw=10;"
     "MaxBw=90;Vlan=5;CurVlan=5;TgtVlan=5;Cur1=20000000c9000002;Cur1B=20000000C9000002;Mfg1=20000000c9000001;"
     "Mfg1B=20000000C9000001;Cur2=10000000c9000003;Cur2B=10000000C9000003;Mfg2=10000000c9000004;"
     "Mfg2B=10000000C9000004;Ini=iqn.x"},

    // ---- SHOW_PF_INFO, QLogic2031 keys; mFcIovSupported is cleared first, then set only for a
    // QLogic2261 whose fourth version is 6.7 or later.
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nFirmwareVersions=1.0,2.0,3.0,6.07.02\r\n",
     "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=6.07.02;FcIov=1"},
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nFirmwareVersions=1.0,2.0,3.0,6.6\r\n", "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=6.6;FcIov=0"},
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nFirmwareVersions=1.0,2.0,3.0,5.9\r\n", "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=5.9;FcIov=0"},
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nFirmwareVersions=1.0,2.0,3.0,7.0\r\n", "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=7.0;FcIov=1"},
    {0x10772031, SHOW_PF_INFO, "retdata=FirmwareVersions=1.0,2.0,3.0,7.0\r\n", "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=7.0;FcIov=0"},
    // A version slot full of dots has no number in it.
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nFirmwareVersions=1.0,2.0,3.0," + kDots + "\r\n",
     "Fw0=1.0;Fw1=2.0;Fw2=3.0;Fw3=" + kDots + ";FcIov=0"},
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nBootEnable=Enabled\r\n", "BootEnApply=1;FcIov=0"},
    {0x10772261, SHOW_PF_INFO, "retdata=\r\nBootEnable=Disabled\r\n", "BootEnApply=0;FcIov=0"},
    {0x10772532, SHOW_PF_INFO, "retdata=BootEnable=      Disabl\r\n", "BootEnApply=0;FcIov=0"},
    {0x10772532, SHOW_PF_INFO, "retdata=BootEnable=       Disabl\r\n", "BootEnApply=1;FcIov=0"},
    {0x10772031, SHOW_PF_INFO, "retdata=WWNN=20000024ff000001\r\n",
     "Cur0=20000024ff000001;Cur0B=20000024FF000001;Mfg0=20000024ff000001;Mfg0B=20000024FF000001;FcIov=0"},
    {0x10772031, SHOW_PF_INFO, "retdata=WWPN=21000024ff000001\r\n",
     "Cur1=21000024ff000001;Cur1B=21000024FF000001;Mfg1=21000024ff000001;Mfg1B=21000024FF000001;FcIov=0"},
    {0x10772031, SHOW_PF_INFO, "retdata=WWNN=20000024ff00000100\r\nWWPN=21000024ff00000100\r\n",
     "Cur0=20000024ff000001;Mfg0=20000024ff000001;Cur1=21000024ff000001;Mfg1=21000024ff000001;FcIov=0"},

    // ---- SHOW_PF_INFO of families without a key table.
    {0x10DFE200, SHOW_PF_INFO, "retdata=PortEn=disabled\r\nPortEnable=Disabled\r\nBootEnable=Disabled\r\nWWNN=2000", ""},
    {0x19A20700, SHOW_PF_INFO, "retdata=PortEn=disabled\r\nPfMAC=0000c9aabbcc\r\n", ""},
    {0x10778070, SHOW_PF_INFO, "data=BootEnable=Disabled\r\nWWNN=20000024ff000001\r\n", ""},
};
// clang-format on

std::string Text(const CHAR8 *Field) {
  return reinterpret_cast<const char *>(Field);
}
std::string Hex(const UINT8 *Slot) {
  char Out[17];
  for (int Index = 0; Index < 8; Index++) {
    std::snprintf(Out + 2 * Index, 3, "%02X", Slot[Index]);
  }
  return Out;
}
std::string Number(UINTN Value) {
  return std::to_string(Value);
}

using RecordProbe = std::function<std::string(const FUNCTION_SETTINGS &)>;
const std::map<std::string, RecordProbe> kRecordProbes = {
    {"PortEn", [](const FUNCTION_SETTINGS &S) { return Number(S.PortEnable); }},
    {"PortEnApply", [](const FUNCTION_SETTINGS &S) { return Number(S.PortEnableToApply); }},
    {"BootEn", [](const FUNCTION_SETTINGS &S) { return Number(S.BootEnable); }},
    {"BootEnApply", [](const FUNCTION_SETTINGS &S) { return Number(S.BootEnableToApply); }},
    {"Sriov", [](const FUNCTION_SETTINGS &S) { return Number(S.SriovEnabled); }},
    {"PfType", [](const FUNCTION_SETTINGS &S) { return Number(S.PfType); }},
    {"MinBw", [](const FUNCTION_SETTINGS &S) { return Number(S.MinBandwidth); }},
    {"MaxBw", [](const FUNCTION_SETTINGS &S) { return Number(S.MaxBandwidth); }},
    {"Vlan", [](const FUNCTION_SETTINGS &S) { return Number(S.VlanId); }},
    {"FnCount", [](const FUNCTION_SETTINGS &S) { return Number(S.FunctionCount); }},
    {"Ini", [](const FUNCTION_SETTINGS &S) { return Text(S.IscsiInitiatorName); }},
    {"Speed", [](const FUNCTION_SETTINGS &S) { return Text(S.MaxLinkSpeedText); }},
    {"SpeedCode",
     [](const FUNCTION_SETTINGS &S) {
       char Out[8];
       std::snprintf(Out, sizeof(Out), "0x%X", S.MaxLinkSpeedCode);
       return std::string(Out);
     }},
};

struct Adapter {
  FUNCTION_SETTINGS Records[2][2] = {};
  std::string Labels[2][2] = {{"00", "01"}, {"10", "11"}};
};

// Every probe of every record and of the discovered state, keyed "Probe@pp" or "Probe".
std::map<std::string, std::string> Snapshot(const Adapter &A) {
  std::map<std::string, std::string> Out;
  for (int Port = 0; Port < 2; Port++) {
    for (int Pf = 0; Pf < 2; Pf++) {
      const FUNCTION_SETTINGS &S = A.Records[Port][Pf];
      const std::string At = "@" + A.Labels[Port][Pf];
      for (const auto &[Name, Probe] : kRecordProbes) {
        Out[Name + At] = Probe(S);
      }
      for (int Slot = 0; Slot < 4; Slot++) {
        Out["Fw" + Number(Slot) + At] = Text(S.FirmwareVersion[Slot]);
      }
      for (int Slot = 0; Slot < 3; Slot++) {
        Out["Cur" + Number(Slot) + At] = Text(S.CurrentAddressText[Slot]);
        Out["Cur" + Number(Slot) + "B" + At] = Hex(S.CurrentAddress[Slot]);
        Out["Mfg" + Number(Slot) + At] = Text(S.MfgAddressText[Slot]);
        Out["Mfg" + Number(Slot) + "B" + At] = Hex(S.MfgAddress[Slot]);
      }
    }
  }
  const DRIVER_MODULE_STATE &M = mModule;
  Out["CurVlan"] = Number(M.Discovered.mCurrentVlanId);
  Out["TgtVlan"] = Number(M.Discovered.mTargetVlanId);
  Out["CurPfCount"] = Number(M.Discovered.mCurrentPfCount);
  Out["TgtPfCount"] = Number(M.Discovered.mTargetPfCount);
  Out["CurPers"] = Number(M.Discovered.mCurrentPersonality);
  Out["TgtPers"] = Number(M.Discovered.mTargetPersonality);
  Out["CurUmc"] = Number(M.Discovered.mCurrentUmc);
  Out["TgtUmc"] = Number(M.Discovered.mTargetUmc);
  Out["Link"] = Number(M.Discovered.mLinkConfig);
  Out["ActiveLink"] = Number(M.Discovered.mActiveLinkConfig);
  Out["TypeCount"] = Number(M.Discovered.mPfTypeCount);
  Out["PxeVlan"] = Number(M.Discovered.mPxeVlanEnabled);
  Out["FcIov"] = Number(M.Discovered.mFcIovSupported);
  for (int Entry = 0; Entry < PF_TYPE_TABLE_ENTRIES; Entry++) {
    Out["Type" + Number(Entry)] = Number(M.Discovered.mPfTypeTable[Entry]);
  }
  return Out;
}

// The reply's bytes at the very end of a readable page: a parser that reads past the reply faults.
class GuardedReply {
public:
  explicit GuardedReply(const std::string &Text) {
    const size_t Page = (size_t)sysconf(_SC_PAGESIZE);
    Size = (Text.size() / Page + 2) * Page;
    Base =
        static_cast<char *>(mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_NE(Base, MAP_FAILED);
    EXPECT_EQ(0, mprotect(Base + Size - Page, Page, PROT_NONE));
    Data = reinterpret_cast<CHAR8 *>(Base + Size - Page - Text.size());
    std::memcpy(Data, Text.data(), Text.size());
  }
  ~GuardedReply() { munmap(Base, Size); }
  CHAR8 *Data;

private:
  char *Base;
  size_t Size;
};

// Two ports of two functions linked as the platform links them, every value a parser may write
// preset to a mark (9, "old", 0xEE bytes) so that a write of 0 or of nothing shows.
void Prepare(Adapter &A, const KeyRow &Row) {
  for (UINT8 Port = 0; Port < 2; Port++) {
    for (UINT8 Pf = 0; Pf < 2; Pf++) {
      FUNCTION_SETTINGS &S = A.Records[Port][Pf];
      S.VendorId = (UINT16)(Row.VidDid >> 16);
      S.DeviceId = (UINT16)Row.VidDid;
      S.PortIndex = Port;
      S.PfIndex = Pf;
      S.FunctionCount = S.PortCount = 2;
      S.Functions[0] = &A.Records[Port][0];
      S.Functions[1] = &A.Records[Port][1];
      S.Ports[0] = &A.Records[0][0];
      S.Ports[1] = &A.Records[1][0];
      S.PortEnable = S.PortEnableToApply = S.BootEnable = S.BootEnableToApply = 9;
      S.SriovEnabled = S.MinBandwidth = S.MaxBandwidth = 9;
      S.PfType = S.VlanId = S.MaxLinkSpeedCode = 9;
      for (auto *Field :
           {S.FirmwareVersion[0], S.FirmwareVersion[1], S.FirmwareVersion[2], S.FirmwareVersion[3],
            S.CurrentAddressText[1], S.CurrentAddressText[2], S.MfgAddressText[1], S.MfgAddressText[2],
            S.IscsiInitiatorName, S.MaxLinkSpeedText}) {
        std::strcpy(reinterpret_cast<char *>(Field), "old");
      }
      std::strcpy(reinterpret_cast<char *>(S.CurrentAddressText[0]), "0000C9012345");
      std::strcpy(reinterpret_cast<char *>(S.MfgAddressText[0]), "0000C9FEDCBA");
      std::memset(S.CurrentAddress, 0xEE, sizeof(S.CurrentAddress));
      std::memset(S.MfgAddress, 0xEE, sizeof(S.MfgAddress));
    }
  }
  FUNCTION_SETTINGS &Parsed = A.Records[Row.Port][Row.Pf > 0 ? 1 : 0];
  Parsed.PfIndex = Row.Pf;
  Parsed.PfType = Row.PfType;
  Parsed.PciAddress = Row.PciAddress;
  Parsed.SubsystemId = Row.Subsystem;

  ResetModuleState();
  IdentifyAdapterFamily(&Parsed);
  DRIVER_MODULE_STATE &M = mModule;
  M.Discovered.mCurrentVlanId = M.Discovered.mTargetVlanId = 9;
  M.Discovered.mCurrentPfCount = M.Discovered.mTargetPfCount = M.Discovered.mCurrentUmc =
      M.Discovered.mTargetUmc = 9;
  M.Discovered.mCurrentPersonality = M.Discovered.mTargetPersonality = M.Discovered.mLinkConfig =
      M.Discovered.mActiveLinkConfig = 9;
  M.Discovered.mPxeVlanEnabled = M.Discovered.mFcIovSupported = 9;
  M.Discovered.mConfigStatus = EFI_DEVICE_ERROR; // what the planning predicate may leave behind
  M.Discovered.mPfTypeCount = 2;
  for (UINT32 &Entry : M.Discovered.mPfTypeTable) {
    Entry = 9;
  }
}

TEST(KeyTableTest, EveryKeyStoresExactlyItsFields) {
  for (const KeyRow &Row : kRows) {
    SCOPED_TRACE(testing::Message() << std::hex << Row.VidDid << std::dec << " code " << Row.Code << " @"
                                    << int(Row.Port) << int(Row.Pf) << " \"" << Row.Reply << "\"");
    Adapter A;
    Prepare(A, Row);
    std::map<std::string, std::string> Expected = Snapshot(A);
    const std::string Own = A.Labels[Row.Port][Row.Pf > 0 ? 1 : 0];
    for (size_t Start = 0; Start < Row.Changes.size();) {
      const size_t End = std::min(Row.Changes.find(';', Start), Row.Changes.size());
      const std::string Item = Row.Changes.substr(Start, End - Start);
      const size_t Equals = Item.find('=');
      const std::string Name = Item.substr(0, Equals);
      const std::string Value = Item.substr(Equals + 1);
      std::vector<std::string> Keys = {Name};
      if (Name.size() > 2 && Name.compare(Name.size() - 2, 2, "@*") == 0) {
        const std::string Base = Name.substr(0, Name.size() - 1);
        Keys = {Base + "00", Base + "01", Base + "10", Base + "11"};
      } else if (Name.find('@') == std::string::npos && Expected.count(Name) == 0) {
        Keys = {Name + "@" + Own};
      }
      for (const std::string &Key : Keys) {
        ASSERT_TRUE(Expected.count(Key)) << "no probe " << Key;
        Expected[Key] = Value;
      }
      Start = End + 1;
    }

    GuardedReply Reply(Row.Reply); // no terminator, as a ROM may hand it
    UINTN Instance = 0;
    FUNCTION_SETTINGS *Parsed = &A.Records[Row.Port][Row.Pf > 0 ? 1 : 0];
    EXPECT_EQ(EFI_SUCCESS, ParseClpReply(Parsed, &Instance, Reply.Data, (UINT32)Row.Reply.size(), Row.Code));

    const std::map<std::string, std::string> Actual = Snapshot(A);
    for (const auto &[Key, Value] : Expected) {
      EXPECT_EQ(Value, Actual.at(Key)) << Key;
    }
  }
}

} // namespace
