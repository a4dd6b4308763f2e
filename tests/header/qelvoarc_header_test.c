#include "qelvoarc.h"
int main(void) {
    return 0;
}
