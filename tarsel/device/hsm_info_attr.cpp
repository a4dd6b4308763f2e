#include "device/hsm_info_attr.h"

#include "device/library_handles.h"

uint32_t GetHsmInfoAttr(QSessionHandle session, uint32_t attribute, void *buffer,
                        uint32_t *length) {
    OwnedP11Info info;
    const uint32_t rc = QGetHSMP11Info(session, info.Out(), 0);
    if (rc != Q_OK) return rc;
    return QGetHSMP11InfoAttr(info.Get(), attribute, buffer, length, 0);
}
