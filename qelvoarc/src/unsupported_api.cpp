// Functions this library declares but does not serve yet. Each answers Q_ERR_NOT_SUPPORTED,
// so a caller sees an honest failure rather than a missing symbol or a pretended success.

#include "qelvoarc.h"

extern "C" {

uint32_t QOATHPskcTranslate(const uint8_t *, uint32_t, const uint8_t *, uint32_t,
                            QPskcTokenCallback, void *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QPKCS8ExportKey(QKeyHandle, const char *, uint8_t **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QPKCS8ImportKey(QSessionHandle, const char *, const char *, const uint8_t *, uint32_t,
                         uint32_t, QKeyHandle *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QExportPKCS12(QSessionHandle, const char *, const char *, const char *, uint8_t **,
                       uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QImportPKCS12Buffer(QSessionHandle, const uint8_t *, uint32_t, const char *, const char *,
                             const char *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QByokExport(QSessionHandle, const char *, const char *, uint32_t, uint8_t **, uint32_t *,
                     uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QEncrypt(QKeyHandle, uint32_t, uint32_t, const uint8_t *, const uint8_t *, uint32_t,
                  uint8_t *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QDecrypt(QKeyHandle, uint32_t, uint32_t, const uint8_t *, const uint8_t *, uint32_t,
                  uint8_t *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSignHash(QHashHandle, QKeyHandle, uint32_t, uint8_t *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QVerifySignature(QHashHandle, QKeyHandle, uint32_t, const uint8_t *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSignHashedData(QKeyHandle, uint32_t, const uint8_t *, uint32_t, uint32_t, uint8_t *,
                         uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSignXml(QSessionHandle, const char *, const char *, uint32_t, const uint8_t *, uint32_t,
                  uint8_t **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QVerifySignedXmlEx(QSessionHandle, const char *, const char *, const uint8_t *, uint32_t,
                            uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QPKCS7Sign(QSessionHandle, const char *, const char *, const uint8_t *, uint32_t,
                    uint8_t **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QGeneratePKCS10CSR(QSessionHandle, const char *, const char *, uint32_t, uint8_t **,
                            uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QGetObjMetadataTypeInfoList(QTypeInfo **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QGetJsonObjMetadata(QSessionHandle, const char *, char **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSetJsonObjMetadata(QSessionHandle, const char *, const char *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QAssociatePKCS11Key(QSessionHandle, const char *, const char *, const char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QReadFile(QSessionHandle, const char *, const char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QWriteFile(QSessionHandle, const char *, const char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QWriteFileBuffer(QSessionHandle, const char *, const uint8_t *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QEFTImportTR31(QSessionHandle, const char *, const char *, const char *, uint32_t,
                        uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QEFTExportTR31(QSessionHandle, const char *, const char *, const char *, char **,
                        uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBEncodeInit(QSessionHandle, const char *, const char *, uint32_t, uint32_t,
                        QSPBHandle *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBEncodeCont(QSPBHandle, const uint8_t *, uint32_t, uint8_t *, uint32_t *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBEncodeEnd(QSPBHandle, uint8_t *, uint32_t *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBDecodeInit(QSessionHandle, const char *, const char *, uint32_t, uint32_t,
                        QSPBHandle *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBDecodeCont(QSPBHandle, const uint8_t *, uint32_t, uint8_t *, uint32_t *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBDecodeEnd(QSPBHandle, uint8_t *, uint32_t *) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBGenerateKey(QSessionHandle, const char *, const char *, uint32_t, char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBGetCertificate(QSessionHandle, const char *, uint8_t **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBImportCertificate(QSessionHandle, uint32_t, const uint8_t *, uint32_t, const char *,
                               uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBImportPKCS12(QSessionHandle, uint32_t, const uint8_t *, uint32_t, const char *,
                          const char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBActivateCertificate(QSessionHandle, const char *, const char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBMapInfo(QSessionHandle, const char *, const char *, QSPBMapInfoRecord *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBCalculateObjectId(const char *, const char *, uint32_t, char *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSPBExportPKCS12(QSessionHandle, const char *, const char *, const char *, uint8_t **,
                          uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSVaultGenToken(QSessionHandle, const char *, const char *, uint8_t, uint8_t, uint8_t,
                         char *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QSVaultGetData(QSessionHandle, const char *, const char *, uint8_t, uint8_t, char *,
                        uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainCreateBip32Ckd(QSessionHandle, uint32_t, uint32_t, const char *, const char *,
                               uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainCreateXPrv(QSessionHandle, uint32_t, const char *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainGetAddress(QSessionHandle, const char *, uint32_t, const char *, char *, uint32_t *,
                           uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainSignHash(QSessionHandle, const char *, uint32_t, const uint8_t *, uint32_t,
                         uint8_t *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainGetPubKey(QSessionHandle, const char *, uint32_t, uint8_t *, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainPkExport(QSessionHandle, const char *, uint32_t, uint8_t **, uint32_t *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainPkImport(QSessionHandle, const char *, uint32_t, const uint8_t *, uint32_t,
                         uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainGetKeyInfo(QSessionHandle, const char *, QBchainKeyInfo *, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainHashData(QSessionHandle, uint32_t, const uint8_t *, uint32_t, uint8_t *, uint32_t *,
                         uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainRecoverPbkFromSignature(QSessionHandle, uint32_t, const uint8_t *, uint32_t,
                                        const uint8_t *, uint32_t, uint8_t *, uint32_t *,
                                        uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainVerify(QSessionHandle, uint32_t, const uint8_t *, uint32_t, const uint8_t *,
                       uint32_t, const uint8_t *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}
uint32_t QBchainEd2X(QSessionHandle, const char *, const char *, uint32_t, uint32_t) {
    return Q_ERR_NOT_SUPPORTED;
}

}  // extern "C"
