#include "callback_delivery.h"

namespace qelvoarc {

uint32_t DeliverNames(const std::vector<std::string> &names, QNameCallback callback,
                      void *context) {
    for (const std::string &name : names)
        if (uint32_t stop = callback(name.c_str(), context, 0); stop != 0) return stop;
    return callback(nullptr, context, 1);
}

}  // namespace qelvoarc
