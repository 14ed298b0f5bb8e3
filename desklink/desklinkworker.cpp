#include "desklinkworker.h"

#include <QElapsedTimer>
#include <QFile>

#include <grpcpp/alarm.h>
#include <grpcpp/grpcpp.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "client/client_core.grpc.pb.h"

namespace
{

// One query in flight. It lives until its tag comes back from the queue.
struct Call {
    grpc::ClientContext context;
    client::WhoAreYouReply reply;
    grpc::Status status;
    std::unique_ptr<grpc::ClientAsyncResponseReader<client::WhoAreYouReply>> reader;
    // Set when the query failed before reaching the network (no certificate).
    std::unique_ptr<grpc::Alarm> alarm;
    QString earlyError;
    QElapsedTimer clock;
    std::shared_ptr<grpc::Channel> channel;
    std::string target;
};

// An int, not the enum: a code this build does not know is no valid grpc::StatusCode.
const char *statusName(int code)
{
    switch (code) {
    case grpc::OK: return "OK";
    case grpc::CANCELLED: return "CANCELLED";
    case grpc::UNKNOWN: return "UNKNOWN";
    case grpc::INVALID_ARGUMENT: return "INVALID_ARGUMENT";
    case grpc::DEADLINE_EXCEEDED: return "DEADLINE_EXCEEDED";
    case grpc::NOT_FOUND: return "NOT_FOUND";
    case grpc::ALREADY_EXISTS: return "ALREADY_EXISTS";
    case grpc::PERMISSION_DENIED: return "PERMISSION_DENIED";
    case grpc::RESOURCE_EXHAUSTED: return "RESOURCE_EXHAUSTED";
    case grpc::FAILED_PRECONDITION: return "FAILED_PRECONDITION";
    case grpc::ABORTED: return "ABORTED";
    case grpc::OUT_OF_RANGE: return "OUT_OF_RANGE";
    case grpc::UNIMPLEMENTED: return "UNIMPLEMENTED";
    case grpc::INTERNAL: return "INTERNAL";
    case grpc::UNAVAILABLE: return "UNAVAILABLE";
    case grpc::DATA_LOSS: return "DATA_LOSS";
    case grpc::UNAUTHENTICATED: return "UNAUTHENTICATED";
    default: return "UNKNOWN";
    }
}

DeskLinkWorker::Finished finished(const Call &call, bool english)
{
    DeskLinkWorker::Finished out;
    out.elapsedMs = call.clock.elapsed();
    out.english = english;
    out.early = call.alarm != nullptr;
    out.earlyError = call.earlyError;
    out.status = call.status.error_code();
    out.statusMessage = QString::fromStdString(call.status.error_message());
    out.target = QString::fromStdString(call.target);
    // Only a call out of time asks; GetState(false) neither connects nor waits.
    if (call.status.error_code() == grpc::DEADLINE_EXCEEDED && call.channel)
        out.connected = call.channel->GetState(false) == GRPC_CHANNEL_READY;
    const common::ErrorData &error = call.reply.error();
    out.errorCode = error.error_code();
    out.errorEn = QString::fromStdString(error.error_msg_en());
    out.errorZh = QString::fromStdString(error.error_msg_zh());
    out.name = QString::fromStdString(call.reply.name());
    return out;
}

} // namespace

struct DeskLinkWorker::Private {
    grpc::CompletionQueue queue;
    std::shared_ptr<grpc::Channel> channel;
    std::unique_ptr<client::ClientCore::Stub> stub;
    std::string target;
    QString setupError;
    std::atomic<bool> english{false};
    std::atomic<bool> closing{false};
    std::mutex mutex;
    std::set<Call *> inFlight;
    std::thread thread;
};

DeskLinkWorker::DeskLinkWorker(QObject *parent) : QObject(parent), d(new Private)
{
    qRegisterMetaType<tagServerTypeInfoResp>("tagServerTypeInfoResp");
    d->setupError = QStringLiteral("no connection has been prepared");
    d->thread = std::thread([this]() { deliverAnswers(); });
}

DeskLinkWorker::Answer DeskLinkWorker::answerFor(const Finished &call)
{
    Answer answer;
    tagServerTypeInfoResp &response = answer.response;
    response.elapsedMs = call.elapsedMs;
    if (call.early) {
        response.grpcStatus = grpc::UNAVAILABLE;
        response.errorMsg = call.earlyError;
    } else if (call.status != grpc::OK) {
        response.grpcStatus = call.status;
        response.errorMsg = QStringLiteral("%1: %2").arg(statusName(call.status), call.statusMessage);
        // A call that waited for a connection in vain says so, rather than
        // only that its time ran out.
        if (call.status == grpc::DEADLINE_EXCEEDED && !call.connected)
            response.errorMsg = QStringLiteral("UNAVAILABLE: no connection to %1 within %2 ms")
                                    .arg(call.target)
                                    .arg(deadlineMs);
    } else {
        response.errorCode = call.errorCode;
        response.serverName = call.name;
        answer.success = call.errorCode == 0;
        if (!answer.success) {
            const QString &preferred = call.english ? call.errorEn : call.errorZh;
            const QString &other = call.english ? call.errorZh : call.errorEn;
            response.errorMsg = !preferred.isEmpty() ? preferred : other;
            if (response.errorMsg.isEmpty())
                response.errorMsg = QStringLiteral("server error code %1").arg(call.errorCode);
        }
    }
    return answer;
}

void DeskLinkWorker::deliverAnswers()
{
    void *tag = nullptr;
    bool ok = false;
    while (d->queue.Next(&tag, &ok)) {
        std::unique_ptr<Call> call(static_cast<Call *>(tag));
        {
            std::lock_guard<std::mutex> lock(d->mutex);
            d->inFlight.erase(call.get());
        }
        if (d->closing.load())
            continue;
        const Answer answer = answerFor(finished(*call, d->english.load()));
        emit queryServerTypeInfoResult(answer.response, answer.success);
    }
}

DeskLinkWorker::~DeskLinkWorker()
{
    d->closing.store(true);
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        for (Call *call : d->inFlight) {
            if (call->alarm)
                call->alarm->Cancel();
            else
                call->context.TryCancel();
        }
    }
    // Every outstanding tag still comes back once; the loop frees it and ends.
    d->queue.Shutdown();
    d->thread.join();
}

void DeskLinkWorker::initConnection(const QString &certificate, const QString &address, unsigned short port,
                                    bool english)
{
    m_address = address;
    m_port = port;
    d->english.store(english);
    d->stub.reset();
    d->channel.reset();

    QFile file(certificate);
    if (!file.open(QIODevice::ReadOnly)) {
        d->setupError =
            QStringLiteral("certificate %1 cannot be read: %2").arg(certificate, file.errorString());
        return;
    }
    grpc::SslCredentialsOptions tls;
    tls.pem_root_certs = file.readAll().toStdString();
    if (tls.pem_root_certs.empty()) {
        d->setupError = QStringLiteral("certificate %1 is empty").arg(certificate);
        return;
    }

    grpc::ChannelArguments arguments;
    // A server back from an outage must be found again within a refresh or two,
    // not after gRPC's default back-off of up to two minutes.
    arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 250);
    arguments.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, 1000);
    arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 1000);
    const QString host = address.contains(':') ? QStringLiteral("[%1]").arg(address) : address;
    const std::string target = QStringLiteral("%1:%2").arg(host).arg(port).toStdString();
    d->target = target;
    d->channel = grpc::CreateCustomChannel(target, grpc::SslCredentials(tls), arguments);
    d->stub = client::ClientCore::NewStub(d->channel);
}

void DeskLinkWorker::queryServerTypeInfo()
{
    auto *call = new Call;
    call->clock.start();
    std::lock_guard<std::mutex> lock(d->mutex);
    d->inFlight.insert(call);
    if (!d->stub) {
        call->earlyError = d->setupError;
        call->alarm.reset(new grpc::Alarm);
        call->alarm->Set(&d->queue, gpr_now(GPR_CLOCK_MONOTONIC), call);
        return;
    }
    call->channel = d->channel;
    call->target = d->target;
    call->context.set_deadline(std::chrono::system_clock::now() + std::chrono::milliseconds(deadlineMs));
    // Wait for the connection within the deadline instead of failing at once
    // while the channel is between reconnect attempts.
    call->context.set_wait_for_ready(true);
    call->reader = d->stub->PrepareAsyncWhoAreYou(&call->context, google::protobuf::Empty(), &d->queue);
    call->reader->StartCall();
    call->reader->Finish(&call->reply, &call->status, call);
}
