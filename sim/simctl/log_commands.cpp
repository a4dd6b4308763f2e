#include "simctl/log_commands.h"

#include <filesystem>
#include <fstream>

#include "simctl/simctl_commands.h"
#include "store/event_log_file.h"

namespace sim {

namespace {

constexpr int kBroken = 1;
constexpr int kUsage = 2;

// The database of a data directory that must exist already.
std::string DatabasePath(const std::string &dir) {
    std::string path = dir + "/hsm.db";
    if (!std::filesystem::exists(path)) throw StoreError("no database in " + dir);
    return path;
}

int Report(const ChainReport &report, std::ostream &out) {
    if (!report.whole) {
        out << "event log broken: " << report.problem << "\n";
        return kBroken;
    }
    out << "event log whole: " << report.lines << " lines\n";
    return 0;
}

int VerifyLog(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    if (args.size() == 3 && args[1] == "--data") {
        Database db({DatabasePath(args[2]), {}});
        return Report(VerifyEventLog(db), out);
    }
    if (args.size() != 2 || args[1].rfind("--", 0) == 0) {
        err << SimctlUsage();
        return kUsage;
    }
    std::ifstream file(args[1], std::ios::binary);
    if (!file) {
        err << "orvena-simctl: cannot read " << args[1] << "\n";
        return kBroken;
    }
    return Report(VerifyEventLogFile(file), out);
}

int ExportLog(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    bool toFile = args.size() == 5 && args[3] == "--out";
    if ((args.size() != 3 && !toFile) || args[1] != "--data") {
        err << SimctlUsage();
        return kUsage;
    }
    Database db({DatabasePath(args[2]), {}});
    if (!toFile) {
        ExportEventLog(db, out);
        return 0;
    }
    std::ofstream file(args[4], std::ios::binary | std::ios::trunc);
    int64_t lines = ExportEventLog(db, file);
    if (!file.flush()) {
        err << "orvena-simctl: cannot write " << args[4] << "\n";
        return kBroken;
    }
    out << lines << " lines exported to " << args[4] << "\n";
    return 0;
}

}  // namespace

bool IsLogCommand(std::string_view name) {
    return name == "verify-log" || name == "export-log";
}

int RunLogCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    return args.at(0) == "verify-log" ? VerifyLog(args, out, err) : ExportLog(args, out, err);
}

}  // namespace sim
