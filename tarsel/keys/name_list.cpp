#include "keys/name_list.h"

namespace {

uint32_t AppendName(const char *name, void *context, int isFinal) {
    if (isFinal == 0 && name != nullptr)
        static_cast<std::vector<std::string> *>(context)->push_back(name);
    return 0;
}

}  // namespace

uint32_t CollectNames(QSessionHandle session, NameEnumerator enumerate,
                      std::vector<std::string> *names) {
    return enumerate(session, AppendName, names);
}
