#include "server/service_table.h"

#include "service/access_token_service.h"
#include "service/backup_service.h"
#include "service/cloud_service.h"
#include "service/eft_key_service.h"
#include "service/eftd_config_service.h"
#include "service/emv_service.h"
#include "service/firmware_service.h"
#include "service/hsm_status_service.h"
#include "service/information_service.h"
#include "service/ip_filter_service.h"
#include "service/key_export_service.h"
#include "service/key_service.h"
#include "service/log_service.h"
#include "service/login_service.h"
#include "service/machine_service.h"
#include "service/mofn_service.h"
#include "service/network_tool_service.h"
#include "service/oath_service.h"
#include "service/object_backup_service.h"
#include "service/object_service.h"
#include "service/password_policy_service.h"
#include "service/pkcs11_map_details.h"
#include "service/random_hash_service.h"
#include "service/replication_service.h"
#include "service/safe_keeping_service.h"
#include "service/user_admin_service.h"
#include "service/user_service.h"

namespace sim {

const DispatchTable &ServiceTable() {
    static const DispatchTable table = [] {
        DispatchTable services;
        RegisterLoginService(services);
        RegisterInformationService(services);
        RegisterPasswordPolicyService(services);
        RegisterRandomHashService(services);
        RegisterUserAdminService(services);
        RegisterUserService(services);
        RegisterOathService(services);
        RegisterAccessTokenService(services);
        RegisterKeyService(services);
        RegisterObjectService(services);
        RegisterKeyExportService(services);
        RegisterEftKeyService(services);
        RegisterPkcs11MapDetails(services);
        RegisterHsmStatusService(services);
        RegisterMachineService(services);
        RegisterLogService(services);
        RegisterObjectBackupService(services);
        RegisterFirmwareService(services);
        RegisterBackupService(services);
        RegisterIpFilterService(services);
        RegisterNetworkToolService(services);
        RegisterMofNService(services);
        RegisterSafeKeepingService(services);
        RegisterEmvService(services);
        RegisterCloudService(services);
        RegisterEftdConfigService(services);
        RegisterReplicationService(services);
        return services;
    }();
    return table;
}

}  // namespace sim
