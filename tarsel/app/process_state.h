#pragma once
// Process-wide state of the console. Written once during start-up and login (and by the
// one re-login after a failed start-up read), read-only for every menu and action after.

#include <cstdint>

struct ProcessState {
    // Command line and login.
    char hsmAddress[129];
    char userId[17];
    uint32_t port;
    uint32_t sessionFlags;  // 1 TLS, 4 clear text
    bool askOtp;
    bool exponent3;
    bool legacyOptions;
    bool searchHsm;
    bool accessTokensMenu;
    bool accessTokenLogin;
    bool exportTlsCert;
    bool mutualTls;
    bool hardwareLogs;
    bool credentialManager;
    char tlsCertOutPath[1025];
    char clientKeyPath[1025];
    char clientCertPath[1025];
    char hsmCertPath[1025];

    // Read after login.
    uint32_t userAcl;
    char hsmVersionText[1025];
    uint64_t firmwareVersion;

    // Feature flags derived from the firmware, the user and the library.
    bool fwAtLeast_3_9_0_0;
    bool fwAtLeast_3_9_0_2;
    bool fwAtLeast_3_10_0_0;
    bool fwAtLeast_4_0_0_0;
    bool fwAtLeast_5_0_11_0;
    bool fwAtLeast_5_0_27_0;
    bool fwAtLeast_5_0_32_0;
    bool eftDaemonUser;
    bool smartCardLibLoaded;
    uint32_t hsmMode;

    // Re-authentication verifier of the login password (never the password itself).
    uint8_t verifierSalt[20];
    uint8_t passwordVerifier[20];

    // M of N: the session has been authorized by the custodians.
    bool sessionAuthorized;
};

extern ProcessState gState;
