/* Built against the installed packages by scripts/install-test.sh: prints the library's
 * version, so a wrong header, link or soname shows up as a build or load failure. */
#include <qelvoarc.h>
#include <stdio.h>

int main(void) {
    uint32_t major = 0, minor = 0, build = 0, revision = 0;
    if (QVersion(0, &major, &minor, &build, &revision) != Q_OK) return 1;
    printf("%u.%u.%u.%u\n", major, minor, build, revision);
    return 0;
}
