#pragma once
// The HSM's information screen and its live monitors, with the menu handler's signature,
// and the sections the screen is made of.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Info" of the main menu: Client, Hardware, Status, Network, Replication and Password
// Policy, each after its centred title. A failing section reports itself and the next one
// runs; the result is the last failing section's code, or 0.
int32_t ShowHsmInfo(QSessionHandle session, const MenuItem &item);
// "Info" of the replication menu: the Replication section alone.
int32_t ShowReplicationAction(QSessionHandle session, const MenuItem &item);
// "Monitor resources" and "Monitor sessions": refresh in place until Control+C, which
// returns to the menu.
int32_t MonitorResources(QSessionHandle session, const MenuItem &item);
int32_t MonitorSessions(QSessionHandle session, const MenuItem &item);

// The sections. Each returns 0 or the code of its failure, which it has reported. A null
// record means it could not be read (reported once by the caller): the sections that need
// it report their own failure with `recordStatus`.
uint32_t ShowClientInfo(QSessionHandle session, int width);
uint32_t ShowHardwareInfo(QSessionHandle session, const QHsmInfoRecord *record,
                          uint32_t recordStatus, int width);
uint32_t ShowStatusInfo(QSessionHandle session, const QHsmInfoRecord *record, uint32_t recordStatus,
                        int width);
uint32_t ShowCloudInfo(QSessionHandle session, int width);
uint32_t ShowNetworkInfo(QSessionHandle session, int width);
uint32_t ShowReplicationInfo(QSessionHandle session, const QHsmInfoRecord *record,
                             uint32_t recordStatus, int width);

// Reads the information record; 0 or the library's code.
uint32_t ReadHsmInfoRecord(QSessionHandle session, QHsmInfoRecord *record);
