#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console_e2e_support.h"

namespace {

const char kUsageText[] =
    "Usage: tarsel [<hsm_ip_address> <id_user> | --cm <hsm_ip_address/target>] [-e/-c] "
    "[-p <port>] [-o]\n"
    "<hsm_ip_address>       ip address of the HSM\n"
    "<id_user>              name of the user to open a session to the HSM\n"
    "-e                     open session encrypted (use TLS) - default option\n"
    "-c                     open session in clear text (do not use TLS)\n"
    "-p <port>              service port of the HSM to open a session - default 4433\n"
    "-o                     authentication with an OTP value (2nd factor)\n"
    "-3                     enable option to use exponent 3 for RSA keys\n"
    "-l                     enable legacy options\n"
    "-sip                   search for the nearby HSMs to connect\n"
    "-g <cert path>         get the HSM's TLS cert and write it to <cert_path>\n"
    "                         in PEM format\n"
    "-pri <key path>        private key used in mutual authentication, MUST be in\n"
    "                         PEM format. -pri_cert and -hsm_cert MUST be provided\n"
    "-pri_cer <cert path>   private key's certificate used in mutual\n"
    "                         authentication, in PEM/DER format. -pri and -hsm_cert\n"
    "                         MUST be provided\n"
    "-hsm_cer <hsm path>    HSM's certificate used in mutual authentication, in\n"
    "                         PEM/DER format. -pri and -pri_cert MUST be provided\n"
    "--cm <ip/target>       connect to the HSM using the Windows Credential Manager\n"
    "                         target name. Target name must be the address of the HSM\n"
    "-h                     display this help and exit\n"
    "Example:\n"
    "       tarsel 10.10.1.1 master -c\n"
    "       tarsel 10.10.1.1 master -e -p 4433\n"
    "       tarsel 10.10.1.1 master -o\n";

// Every refusal of the command line takes one path, whichever the parser's unit tests
// pin; an access token that does not decode takes it too.
TEST(ConsoleCommandLine, HelpAndUsageErrorsShowBannerLibraryVersionAndUsageAndEndWithMinusOne) {
    const std::vector<std::vector<std::string>> cases = {
        {"-h"},
        {"10.10.1.1", "master", "-pri", "k", "-pri_cer", "c"},  // no -hsm_cer
        {"10.10.1.1", "-a", "not*base64"},
    };
    for (const std::vector<std::string> &args : cases) {
        SCOPED_TRACE(::testing::PrintToString(args));
        PtyDriver console(TARSEL_PATH, args);
        console.Expect("Orvena - Remote Management Console v. 4.15.0.0 ");
        console.Expect("\n\nLibrary qelvoarc version  ");
        console.Expect(".\n");
        console.Expect(kUsageText);
        EXPECT_EQ(console.WaitExit(), 255);
        EXPECT_EQ(console.Output().find("HSM User Password"), std::string::npos);
    }
}

}  // namespace
