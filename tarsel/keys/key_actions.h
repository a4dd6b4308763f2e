#pragma once
// The menu actions of keys and objects, each with the common action signature: 0 on
// success, 1 when a prompt was cancelled, otherwise the library's code.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Keys/Objects - Generate".
int32_t GenerateDesAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateTripleDesAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateDesxAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateAesAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateArc4Action(QSessionHandle session, const MenuItem &item);
int32_t GenerateArc5Action(QSessionHandle session, const MenuItem &item);
int32_t GenerateHmacAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateRsaAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateEccAction(QSessionHandle session, const MenuItem &item);
int32_t GenerateEcxAction(QSessionHandle session, const MenuItem &item);
int32_t CreateMapAction(QSessionHandle session, const MenuItem &item);
int32_t CreatePkcs11MapAction(QSessionHandle session, const MenuItem &item);

// "Keys/Objects": "Remove", "Attributes", "List", "List(Pkcs11)".
int32_t RemoveObjectAction(QSessionHandle session, const MenuItem &item);
int32_t ShowKeyInfoAction(QSessionHandle session, const MenuItem &item);
int32_t ListObjectsAction(QSessionHandle session, const MenuItem &item);
int32_t ListPkcs11MapsAction(QSessionHandle session, const MenuItem &item);

// "Keys/Objects - Import - Symmetric Keys": "Clear Text Key".
int32_t ImportClearKeyAction(QSessionHandle session, const MenuItem &item);

// "Keys/Objects - Key Backup": "Backup" saves one object to a local file as a blob sealed by
// the HSM; "Restore" brings such a blob back under the name the operator gives.
int32_t BackupObjectAction(QSessionHandle session, const MenuItem &item);
int32_t RestoreObjectAction(QSessionHandle session, const MenuItem &item);
