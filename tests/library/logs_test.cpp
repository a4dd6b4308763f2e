// The HSM log through the library: reads by offset, the three downloads (each checked as the
// chain tool and unzip see it), the clear, the follow, the line formatter and the refusals.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "qelvoarc_fixture.h"
#include "shell.h"
#include "temp_dir.h"

namespace {

class LibraryLogs : public LibraryTest {
  protected:
    // The whole download of `selector`, in chunks of `chunk` bytes.
    std::string Download(int32_t selector, uint32_t chunk = Q_LOG_CHUNK_SIZE) {
        QLogHandle log = 0;
        EXPECT_EQ(QGetHSMLogInit(operator_, 0, selector, &log, 0), Q_OK);
        std::string bytes, buffer(chunk, '\0');
        for (;;) {
            uint32_t length = chunk;
            uint32_t rc = QGetHSMLogCont(log, reinterpret_cast<uint8_t *>(buffer.data()), &length);
            EXPECT_EQ(rc, Q_OK);
            if (rc != Q_OK || length == 0) break;
            bytes.append(buffer, 0, length);
        }
        EXPECT_EQ(QGetHSMLogEnd(log), Q_OK);
        return bytes;
    }

    std::string StatLog(uint32_t offset, uint32_t length, uint32_t *status) {
        uint8_t *data = nullptr;
        uint32_t dataLength = 0;
        *status = QGetStatLog(operator_, offset, length, &data, &dataLength, 0);
        std::string text(reinterpret_cast<const char *>(data), *status == Q_OK ? dataLength : 0);
        QFree(data);
        return text;
    }

    uint32_t Size() {
        uint32_t size = 0;
        EXPECT_EQ(QGetStatLogSize(operator_, &size, 0), Q_OK);
        return size;
    }

    // verify-log's verdict on `bytes` as a file; only a whole log exits with 0.
    std::string Verify(const std::string &bytes) {
        std::string path = dir_.Path("check.log"), out;
        WriteFileBytes(path, bytes);
        const int status = Shell(std::string(ORVENA_SIMCTL_PATH) + " verify-log " + path, &out);
        EXPECT_EQ(status, out.rfind("event log whole: ", 0) == 0 ? 0 : 1) << out;
        return out;
    }

    TempDir dir_;
};

TEST_F(LibraryLogs, ReadsAndDownloadsAgreeAndEveryDownloadPassesTheChainCheck) {
    ASSERT_EQ(sim_.Simctl({"add-log-lines", "3000", "--from", "1700000000", "--step", "60"}), 0);
    const uint32_t size = Size();
    ASSERT_GT(size, 2 * Q_LOG_STAT_MAX);

    // Chunks smaller than a line still put the text together exactly.
    const std::string plain = Download(Q_LOG_PLAIN, 1000);
    ASSERT_EQ(plain.size(), size);
    EXPECT_EQ(Download(Q_LOG_PLAIN), plain);
    uint32_t status = 0;
    EXPECT_EQ(StatLog(0, Q_LOG_STAT_MAX, &status), plain.substr(0, Q_LOG_STAT_MAX));
    EXPECT_EQ(StatLog(size - 100, Q_LOG_STAT_MAX, &status), plain.substr(size - 100));
    EXPECT_EQ(StatLog(12345, 777, &status), plain.substr(12345, 777));
    EXPECT_EQ(plain.substr(65, 2), "0|");  // the anchor: the chain's start
    EXPECT_NE(plain.find("|Bulk event 3000|ok\n"), std::string::npos);
    // With the start, master's creation and the login.
    EXPECT_EQ(Verify(plain), "event log whole: 3003 lines\n");

    // The zipped forms: one member holding the same text; the package adds the hardware log.
    std::string zip = dir_.Path("log.zip"), package = dir_.Path("package.zip"), listing, member;
    WriteFileBytes(zip, Download(Q_LOG_ZIPPED));
    WriteFileBytes(package, Download(Q_LOG_ZIPPED_PACKAGE));
    ASSERT_EQ(Shell("unzip -Z1 " + zip, &listing), 0);
    EXPECT_EQ(listing, "vlx_appliance.log\n");
    ASSERT_EQ(Shell("unzip -p " + zip + " vlx_appliance.log", &member), 0);
    EXPECT_EQ(member.substr(0, size), plain);
    ASSERT_EQ(Shell("unzip -Z1 " + package, &listing), 0);
    EXPECT_EQ(listing, "vlx_appliance.log\nvlx_hardware.log\n");
    ASSERT_EQ(Shell("unzip -p " + package + " vlx_hardware.log", &member), 0);
    EXPECT_NE(member.find("|start|firmware 5.1.0.0\n"), std::string::npos) << member;
}

// The log is kept deflated in sealed segments of about 256 KiB; the archive joins them with
// the anchor and the open tail, so it must hold the plain text exactly whatever the log went
// through.
TEST_F(LibraryLogs, AnArchiveHoldsExactlyThePlainTextAcrossSegmentsClearsAndLostSegments) {
    const std::string zip = dir_.Path("log.zip");
    auto expectArchiveIsPlain = [&](const char *when) {
        const std::string plain = Download(Q_LOG_PLAIN);
        ASSERT_EQ(plain.size(), Size()) << when;
        WriteFileBytes(zip, Download(Q_LOG_ZIPPED));
        std::string member;
        ASSERT_EQ(Shell("unzip -p " + zip + " vlx_appliance.log", &member), 0) << when;
        EXPECT_TRUE(member == plain)
            << when << ": " << member.size() << " bytes, not " << plain.size();
    };
    auto addLines = [&](const char *count) {
        ASSERT_EQ(sim_.Simctl({"add-log-lines", count, "--from", "1700000000", "--step", "1"}), 0);
    };
    addLines("2500");
    expectArchiveIsPlain("one segment and a tail");
    addLines("2500");
    expectArchiveIsPlain("lines appended across the next segment's end");
    std::string out;
    ASSERT_EQ(Shell("sqlite3 " + sim_.dataDir() +
                        "/hsm.db 'DELETE FROM event_log_segments WHERE end_offset = "
                        "(SELECT MIN(end_offset) FROM event_log_segments)'",
                    &out),
              0)
        << out;
    expectArchiveIsPlain("the first segment lost");
    ASSERT_EQ(QTruncateLog(operator_, 0), Q_OK);
    expectArchiveIsPlain("cleared");
    addLines("2500");
    expectArchiveIsPlain("a segment sealed after the clear");
}

TEST_F(LibraryLogs, AClearLeavesAnAnchorFromWhichTheChainStillChecks) {
    ASSERT_EQ(sim_.Simctl({"add-log-lines", "50"}), 0);
    ASSERT_EQ(QTruncateLog(operator_, 0), Q_OK);
    const std::string plain = Download(Q_LOG_PLAIN);
    ASSERT_EQ(plain.size(), Size());
    // The anchor stands for line 53 (start, master's creation, login, 50 bulk lines); the
    // clear is line 54.
    EXPECT_EQ(plain.substr(65, 3), "53|");
    std::string second = plain.substr(plain.find('\n') + 1);
    EXPECT_EQ(second.substr(65, 3), "54|");
    EXPECT_NE(second.find("|master|Log cleared|ok\n"), std::string::npos) << second;
    EXPECT_EQ(Verify(plain), "event log whole: 1 lines\n");
    // The same verdict from the data directory and from a file exported by the tool.
    const std::string simctl = ORVENA_SIMCTL_PATH, exported = dir_.Path("exported.log");
    ASSERT_EQ(Shell(simctl + " export-log --data " + sim_.dataDir() + " --out " + exported), 0);
    std::string out;
    EXPECT_EQ(Shell(simctl + " verify-log " + exported + " && " + simctl + " verify-log --data " +
                        sim_.dataDir(),
                    &out),
              0)
        << out;

    // A changed line after the anchor is found.
    std::string forged = plain;
    forged.replace(forged.find("Log cleared"), 11, "Log kept   ");
    EXPECT_EQ(Verify(forged), "event log broken: line 54 does not match its hash\n");
}

TEST_F(LibraryLogs, BadArgumentsAndHandlesAreRefused) {
    const uint32_t size = Size();
    uint32_t status = 0;
    EXPECT_EQ(StatLog(size, 100, &status), "");
    EXPECT_EQ(status, Q_OK);
    StatLog(size + 1, 100, &status);
    EXPECT_EQ(status, Q_ERR_INVALID_PARAMETER);
    StatLog(0, Q_LOG_STAT_MAX + 1, &status);
    EXPECT_EQ(status, Q_ERR_INVALID_LENGTH);
    StatLog(0, 0, &status);
    EXPECT_EQ(status, Q_ERR_INVALID_LENGTH);

    QLogHandle log = 0;
    EXPECT_EQ(QGetHSMLogInit(operator_, 0, 5, &log, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGetHSMLogInit(operator_, 1, Q_LOG_PLAIN, &log, 0), Q_ERR_INVALID_PARAMETER);
    ASSERT_EQ(QGetHSMLogInit(operator_, 0, Q_LOG_PLAIN, &log, 0), Q_OK);
    uint8_t buffer[64];
    uint32_t length = 0;
    EXPECT_EQ(QGetHSMLogCont(log, buffer, &length), Q_ERR_INVALID_LENGTH);
    EXPECT_EQ(QGetHSMLogEnd(log), Q_OK);
    length = sizeof buffer;
    EXPECT_EQ(QGetHSMLogCont(log, buffer, &length), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetHSMLogEnd(log), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetLogEvents(operator_, nullptr, nullptr, 0), Q_ERR_INVALID_PARAMETER);
}

TEST_F(LibraryLogs, OnlyTheInformationRightReadsAndClearsTheLog) {
    AddUser("reader", "Reader#12345", "0x40");
    QSessionHandle reader = Login("reader", "Reader#12345");
    ASSERT_NE(reader, 0u);
    // Listing users is not enough (that no right at all is refused every log request is the
    // dispatcher's test); only the information right is, and it is enough for all of it.
    EXPECT_EQ(QTruncateLog(reader, 0), Q_ERR_ACCESS_DENIED);
    QCloseSession(&reader, 0);
    uint32_t size = 0;
    AddUser("auditor", "Auditor#12345", "0x20");
    QSessionHandle auditor = Login("auditor", "Auditor#12345");
    EXPECT_EQ(QGetStatLogSize(auditor, &size, 0), Q_OK);
    EXPECT_EQ(QTruncateLog(auditor, 0), Q_OK);
    QCloseSession(&auditor, 0);

    EXPECT_NE(Download(Q_LOG_PLAIN).find("|auditor|Log cleared|ok\n"), std::string::npos);
}

TEST_F(LibraryLogs, FollowDeliversNewLinesUntilTheCallbackStopsAndTheSessionGoesOn) {
    struct Seen {
        std::string lines;
    } seen;
    std::atomic<bool> following{true};
    // Another session writes lines while this one follows: refused logins, then a clear.
    std::thread writer([&] {
        while (following) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            TryLogin("nobody");
        }
    });
    uint32_t rc = QGetLogEvents(
        operator_,
        [](const char *line, void *context) -> uint32_t {
            auto *s = static_cast<Seen *>(context);
            s->lines += line;
            return s->lines.find("|nobody|Login|unknown user\n") != std::string::npos ? 42 : 0;
        },
        &seen, 0);
    following = false;
    writer.join();
    EXPECT_EQ(rc, 42u);
    char formatted[Q_LOG_LINE_SIZE];
    ASSERT_EQ(QLogLineFormat(seen.lines.c_str(), formatted, sizeof formatted, 0), Q_OK);
    EXPECT_NE(std::string(formatted).find(" GMT #"), std::string::npos) << formatted;
    EXPECT_NE(std::string(formatted).find("] nobody: Login - unknown user"), std::string::npos)
        << formatted;
    EXPECT_GT(Size(), 0u);  // the session serves requests again
}

TEST(LibraryLogLineFormat, ShowsTheLineReadablyAndRefusesAnyOtherShape) {
    const std::string hash = "9F86D081884C7D659A2FEAA0C55AD015A3BF4F1B2B0B822CD15D6C15B0F00A08";
    char out[Q_LOG_LINE_SIZE];
    ASSERT_EQ(
        QLogLineFormat((hash + " 7|2|2024-05-01T09:30:00Z|alice|Key generated: k\\|1|ok\n").c_str(),
                       out, sizeof out, 0),
        Q_OK);
    EXPECT_STREQ(out, "2024-05-01 09:30:00 GMT #7 [9F86D081] alice: Key generated: k|1 - ok");
    ASSERT_EQ(QLogLineFormat((hash + " 0|0|2024-05-01T09:30:00Z||Log start|OV1").c_str(), out,
                             sizeof out, 0),
              Q_OK);
    EXPECT_STREQ(out, "2024-05-01 09:30:00 GMT #0 [9F86D081] HSM: Log start - OV1");
    EXPECT_EQ(QLogLineFormat((hash + " 7|2|2024-05-01T09:30:00Z|alice|op|ok").c_str(), out, 20, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    for (const std::string &bad :
         {std::string("not a log line"), hash + " 7|2|2024-05-01T09:30:00Z|alice|op",
          hash + " 7|2|2024-13-01T09:30:00Z|alice|op|ok", hash.substr(1) + "  7|2|x|a|b|c",
          hash + " 7|x|2024-05-01T09:30:00Z|alice|op|ok",
          hash + " 7|2|2024-05-01T09:30:00Z|a\\q|b|c"})
        EXPECT_EQ(QLogLineFormat(bad.c_str(), out, sizeof out, 0), Q_ERR_INVALID_PARAMETER) << bad;
}

}  // namespace
