// The server query of the Network row: one TLS channel to the management
// server and a WhoAreYou call per query, answered on the worker's own thread
// so that the window never waits for the network.
#pragma once
#include <QMetaType>
#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>

// The reply record. Callers read only errorMsg, which stands at byte 16.
struct tagServerTypeInfoResp {
    std::int32_t errorCode = 0;  // the server's error_code, 0 on success
    std::int32_t grpcStatus = 0; // grpc::StatusCode of the call
    std::int64_t elapsedMs = 0;  // from the query to its answer
    QString errorMsg;            // readable text of a failed query, empty otherwise
    QString serverName;          // WhoAreYouReply.name of a successful query
};
static_assert(offsetof(tagServerTypeInfoResp, errorMsg) == 16, "the error text stands at byte 16");
Q_DECLARE_METATYPE(tagServerTypeInfoResp)

class DeskLinkWorker : public QObject
{
    Q_OBJECT

public:
    explicit DeskLinkWorker(QObject *parent = nullptr);
    // Cancels the calls in flight: an answer already being delivered finishes
    // before this returns, and none is delivered after.
    ~DeskLinkWorker() override;

    // Prepares the channel: the PEM file is the trust anchor, the server is
    // reached at address:port, and error texts follow the display language.
    void initConnection(const QString &certificate, const QString &address, unsigned short port,
                        bool english);
    // One query; returns at once. The answer comes as queryServerTypeInfoResult.
    void queryServerTypeInfo();

    QString address() const { return m_address; }
    unsigned short port() const { return m_port; }

    // Each call gets this long; kept below the window's two-second refresh.
    static constexpr int deadlineMs = 1500;

    // A finished call as read off gRPC and the reply.
    struct Finished {
        // Failed before reaching the network (no usable certificate), with this text.
        bool early = false;
        QString earlyError;
        int status = 0; // grpc::StatusCode
        QString statusMessage;
        bool connected = true; // the channel was ready when the call ended
        QString target;
        int errorCode = 0; // the server's error_code
        QString errorEn;
        QString errorZh;
        QString name;
        bool english = false;
        qint64 elapsedMs = 0;
    };
    // What the caller is told.
    struct Answer {
        tagServerTypeInfoResp response;
        bool success = false;
    };
    // Apart from the queue, so that every kind of reply can be judged without a server.
    static Answer answerFor(const Finished &call);

signals:
    void queryServerTypeInfoResult(const tagServerTypeInfoResp &response, bool success);

private:
    void deliverAnswers();

    struct Private;
    std::unique_ptr<Private> d;
    QString m_address;
    unsigned short m_port = 0;
};
