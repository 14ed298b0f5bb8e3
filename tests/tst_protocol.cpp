// The generated protocol classes as peers see them: field numbers and message ids in exact bytes, the
// oneof that the schema groups, and the method paths they match on.
#include <google/protobuf/descriptor.h>

#include "client/client_core.grpc.pb.h"
#include "common/common_core.grpc.pb.h"
#include "common/stream_message.pb.h"

#include <QtTest>

class TestProtocol : public QObject
{
    Q_OBJECT
private slots:
    void wireLayout()
    {
        // A blocking call in its envelope: id 64 in field 1, the request in field 2, uuid and wrapped
        // message in fields 1 and 2 of the request.
        common::BlockingCallReq request;
        request.set_uuid("u");
        request.set_originalmessage("\x08\x07");
        common::StreamMessage envelope;
        envelope.set_messageid(common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL);
        envelope.set_content(request.SerializeAsString());
        QCOMPARE(QByteArray::fromStdString(envelope.SerializeAsString()),
                 QByteArray("\x08\x40\x12\x07\x0a\x01u\x12\x02\x08\x07", 11));
        // The answer carries its id as 65 and its record in field 5.
        common::BlockingCallResp response;
        QVERIFY(envelope.ParseFromString(std::string("\x08\x41\x12\x06\x0a\x01u\x2a\x01z", 10)) &&
                response.ParseFromString(envelope.content()));
        QCOMPARE(envelope.messageid(), int(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL));
        QCOMPARE(response.uuid() + '|' + response.content(), std::string("u|z"));
        client::onekeyHelpUploadReq upload; // content and its meta share one oneof: the later write wins
        upload.set_content("block");
        upload.mutable_onekeyhelpuploadreqmeta()->set_taskid(9);
        QVERIFY(upload.content().empty());
    }
    void methodPaths()
    {
        const auto *service = google::protobuf::DescriptorPool::generated_pool()->FindServiceByName(
            client::ClientCore::service_full_name());
        QVERIFY(service);
        QStringList paths; // " >": the client streams
        for (const char *name : {"ApplyForDeviceInfo", "queryVoiRunningMode", "onekeyHelpUseGateway"}) {
            const auto *m = service->FindMethodByName(name);
            paths << (m ? QString::fromStdString("/" + service->full_name() + "/" + m->name()) +
                              (m->client_streaming() ? " >" : "") + (m->server_streaming() ? " <" : "")
                        : QString());
        }
        QCOMPARE(paths, QStringList({"/client.ClientCore/ApplyForDeviceInfo",
                                     "/client.ClientCore/queryVoiRunningMode",
                                     "/client.ClientCore/onekeyHelpUseGateway >"}));
    }
};

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
