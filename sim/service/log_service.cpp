#include "service/log_service.h"

#include "service/reply_stream.h"
#include "store/log_download.h"

namespace sim {

namespace {

// The most a read by offset returns.
constexpr uint32_t kMaxReadBytes = 16384;
// The most one download chunk carries.
constexpr uint32_t kMaxChunkBytes = 1u << 20;
// Downloads a session may hold open at once.
constexpr size_t kMaxDownloadsPerSession = 4;
// How often a follow looks for new lines, and after how many empty looks it sends an empty
// frame so that the client's receive timeout never fires on a quiet log.
constexpr int kFollowPollMs = 200;
constexpr int kFollowQuietPolls = 50;
// The most lines one follow frame carries, so that a burst never outgrows a frame.
constexpr size_t kFollowLinesPerFrame = 2000;

Result HandleGetLogSize(Call &call, const pb::GetLogSize &, pb::GetLogSizeReply *reply) {
    reply->set_size(static_cast<uint64_t>(call.hsm.events.State().size));
    return Result::kOk;
}

Result HandleReadLog(Call &call, const pb::ReadLog &request, pb::ReadLogReply *reply) {
    if (request.length() > kMaxReadBytes) return Result::kInvalidLength;
    if (!call.hsm.events.Read(static_cast<int64_t>(request.offset()), request.length(),
                              reply->mutable_data()))
        return Result::kInvalidParameter;
    return Result::kOk;
}

Result HandleClearLog(Call &call, const pb::ClearLog &, pb::ClearLogReply *) {
    call.hsm.events.Clear(call.actor());
    return Result::kOk;
}

Result HandleStartLogDownload(Call &call, const pb::StartLogDownload &request,
                              pb::StartLogDownloadReply *reply) {
    Session &session = call.session();
    if (session.logDownloads.size() >= kMaxDownloadsPerSession) return Result::kNoMemory;
    std::unique_ptr<LogDownload> download;
    if (Result r = LogDownload::Start(call.hsm.events, request.selector(), &download);
        r != Result::kOk)
        return r;
    uint64_t id = ++session.lastLogDownload;
    session.logDownloads.emplace(id, std::move(download));
    reply->set_download_id(id);
    return Result::kOk;
}

Result HandleReadLogDownload(Call &call, const pb::ReadLogDownload &request,
                             pb::ReadLogDownloadReply *reply) {
    auto it = call.session().logDownloads.find(request.download_id());
    if (it == call.session().logDownloads.end()) return Result::kInvalidHandle;
    if (request.length() == 0 || request.length() > kMaxChunkBytes) return Result::kInvalidLength;
    return it->second->Next(call.hsm.events, request.length(), reply->mutable_data());
}

Result HandleEndLogDownload(Call &call, const pb::EndLogDownload &request,
                            pb::EndLogDownloadReply *) {
    return call.session().logDownloads.erase(request.download_id()) > 0 ? Result::kOk
                                                                        : Result::kInvalidHandle;
}

// Pushes the lines written after the follow began, as they come, until the client stops it.
Result HandleFollowLog(Call &call, const pb::FollowLog &, pb::FollowLogReply *reply) {
    ReplyStream *stream = call.conn.replies;
    if (stream == nullptr) return Result::kNotSupported;
    int64_t seq = call.hsm.events.State().lastSeq;
    int quiet = 0;
    std::vector<std::string> lines;
    while (!stream->StopAsked(kFollowPollMs)) {
        if (call.session().ended) {  // its user was removed meanwhile
            call.conn.closeAfterReply = true;
            return Result::kSessionExpired;
        }
        lines.clear();
        seq = call.hsm.events.LinesAfter(seq, kFollowLinesPerFrame, &lines);
        if (lines.empty() && ++quiet < kFollowQuietPolls) continue;
        quiet = 0;
        pb::Response frame;
        frame.set_status(wire::OK);
        pb::FollowLogReply *body = frame.mutable_follow_log();  // set even with no lines
        for (std::string &line : lines)
            body->add_lines(std::move(line));
        if (!stream->Push(frame)) break;
    }
    reply->set_stopped(true);
    return Result::kOk;
}

Result HandleStopFollowingLog(Call &, const pb::StopFollowingLog &, pb::StopFollowingLogReply *) {
    return Result::kBadState;  // no follow is running: a running one reads the stop itself
}

}  // namespace

void RegisterLogService(DispatchTable &table) {
    const Needs info = Needs::Acl(pb::ACL_REMOTE_INFO);
    table.Add<&pb::Request::get_log_size, &pb::Response::mutable_get_log_size>(
        HandleGetLogSize, info, kNormalSessions);
    table.Add<&pb::Request::read_log, &pb::Response::mutable_read_log>(HandleReadLog, info,
                                                                       kNormalSessions);
    table.Add<&pb::Request::clear_log, &pb::Response::mutable_clear_log>(HandleClearLog, info,
                                                                         kNormalSessions);
    table.Add<&pb::Request::start_log_download, &pb::Response::mutable_start_log_download>(
        HandleStartLogDownload, info, kNormalSessions);
    table.Add<&pb::Request::read_log_download, &pb::Response::mutable_read_log_download>(
        HandleReadLogDownload, info, kNormalSessions);
    table.Add<&pb::Request::end_log_download, &pb::Response::mutable_end_log_download>(
        HandleEndLogDownload, info, kNormalSessions);
    table.Add<&pb::Request::follow_log, &pb::Response::mutable_follow_log>(HandleFollowLog, info,
                                                                           kNormalSessions);
    table.Add<&pb::Request::stop_following_log, &pb::Response::mutable_stop_following_log>(
        HandleStopFollowingLog, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
