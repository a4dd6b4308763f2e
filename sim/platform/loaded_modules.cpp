#include "platform/loaded_modules.h"

#include <google/protobuf/stubs/common.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/params.h>
#include <openssl/provider.h>
#include <sqlite3.h>

namespace sim {

namespace {

int AddProvider(OSSL_PROVIDER *provider, void *context) {
    const char *version = nullptr;
    OSSL_PARAM request[] = {
        OSSL_PARAM_construct_utf8_ptr(OSSL_PROV_PARAM_VERSION, const_cast<char **>(&version), 0),
        OSSL_PARAM_construct_end()};
    std::string entry = std::string("OpenSSL provider ") + OSSL_PROVIDER_get0_name(provider);
    if (OSSL_PROVIDER_get_params(provider, request) == 1 && version != nullptr)
        entry += std::string(" ") + version;
    static_cast<std::vector<std::string> *>(context)->push_back(entry);
    return 1;
}

}  // namespace

std::vector<std::string> LoadedModules() {
    std::vector<std::string> modules;
    modules.push_back(std::string("OpenSSL ") + OpenSSL_version(OPENSSL_VERSION_STRING));
    OSSL_PROVIDER_do_all(nullptr, AddProvider, &modules);
    modules.push_back(std::string("SQLite ") + sqlite3_libversion());
    modules.push_back("protobuf " +
                      google::protobuf::internal::VersionString(GOOGLE_PROTOBUF_VERSION));
    return modules;
}

}  // namespace sim
