// The generated protocol classes: what the schemas mean on the wire beyond their tables, the method
// table the peers match on, and a blocking call against a real server built from a generated base.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/empty.pb.h>
#include <grpcpp/grpcpp.h>

#include "client/client_core.grpc.pb.h"
#include "client/client_stream.grpc.pb.h"
#include "common/common_core.grpc.pb.h"

#include <QtTest>

// Answers each blocking call with its uuid and the wrapped message handed back as the content.
class StreamService final : public client::ClientStream::Service
{
    grpc::Status
    ClientStream(grpc::ServerContext *,
                 grpc::ServerReaderWriter<common::StreamMessage, common::StreamMessage> *stream) override
    {
        common::StreamMessage message;
        common::BlockingCallReq request;
        while (stream->Read(&message)) {
            if (message.messageid() != common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL ||
                !request.ParseFromString(message.content()))
                return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "not a blocking call");
            common::BlockingCallResp response;
            response.set_uuid(request.uuid());
            response.set_content(request.originalmessage());
            message.set_messageid(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL);
            message.set_content(response.SerializeAsString());
            stream->Write(message);
        }
        return grpc::Status::OK;
    }
};

class TestProtocol : public QObject
{
    Q_OBJECT
private slots:
    void emptyOnTheWire()
    {
        // A response without error reads as code 0 with both texts empty.
        client::HeartbeatResp heartbeat;
        QVERIFY(heartbeat.ParseFromString(std::string()));
        QVERIFY(!heartbeat.has_error() && heartbeat.error().error_code() == 0);
        QVERIFY(heartbeat.error().error_msg_zh().empty() && heartbeat.error().error_msg_en().empty());
        common::StreamMessage begin;
        begin.set_messageid(common::MSGID_Begin);
        begin.set_content("");
        QVERIFY(begin.SerializeAsString().empty());
        // Same empty bytes, yet two records of their own.
        QCOMPARE(common::isUseGatewayReq().ByteSizeLong(), size_t(0));
        QCOMPARE(google::protobuf::Empty().ByteSizeLong(), size_t(0));
        QVERIFY(common::isUseGatewayReq::descriptor() != google::protobuf::Empty::descriptor());
    }

    void oneofAndMaps()
    {
        client::onekeyHelpUploadReq request;
        request.set_content("block");
        request.mutable_onekeyhelpuploadreqmeta()->set_taskid(9);
        QCOMPARE(request.oneof_content_case(), client::onekeyHelpUploadReq::kOnekeyHelpUploadReqMeta);
        QVERIFY(request.content().empty());
        request.set_content("again");
        QVERIFY(!request.has_onekeyhelpuploadreqmeta());
        common::KeepAliveMessage keepAlive, back;
        (*keepAlive.mutable_macip())["00:11:22:33:44:55"] = "192.0.2.10";
        (*keepAlive.mutable_macip())["66:77:88:99:aa:bb"] = "";
        QVERIFY(back.ParseFromString(keepAlive.SerializeAsString()));
        QCOMPARE(back.macip_size(), 2);
        QCOMPARE(back.macip().at("00:11:22:33:44:55"), std::string("192.0.2.10"));
        QVERIFY(back.macip().count("66:77:88:99:aa:bb"));
    }

    void clientCoreMethods()
    {
        const auto *core = google::protobuf::DescriptorPool::generated_pool()->FindServiceByName(
            client::ClientCore::service_full_name());
        QVERIFY(core);
        QCOMPARE(core->method_count(), 59);
        auto path = [core](int i) {
            return QString::fromStdString("/" + core->full_name() + "/" + core->method(i)->name());
        };
        QCOMPARE(path(0), "/client.ClientCore/ApplyForDeviceInfo");
        QCOMPARE(path(12), "/client.ClientCore/queryVoiRunningMode");
        QCOMPARE(path(34), "/client.ClientCore/QueryNodes");
        QCOMPARE(path(58), "/client.ClientCore/authenticate");
        QVERIFY(core->FindMethodByName("onekeyHelpUseGateway")->client_streaming());
    }

    void blockingCallOverStream()
    {
        StreamService service;
        int port = 0;
        const std::unique_ptr<grpc::Server> server =
            grpc::ServerBuilder()
                .AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port)
                .RegisterService(&service)
                .BuildAndStart();
        QVERIFY(server && port > 0);
        auto stub = client::ClientStream::NewStub(
            grpc::CreateChannel("127.0.0.1:" + std::to_string(port), grpc::InsecureChannelCredentials()));
        grpc::ClientContext context;
        context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(10));
        auto stream = stub->ClientStream(&context);
        common::BlockingCallReq request;
        request.set_uuid("7f1c-first");
        request.set_originalmessage("\x08\x07"); // a ClientMsg for vm 7
        common::StreamMessage envelope;
        envelope.set_messageid(64);
        envelope.set_content(request.SerializeAsString());
        QVERIFY(stream->Write(envelope) && stream->WritesDone() && stream->Read(&envelope));
        QCOMPARE(envelope.messageid(), 65);
        common::BlockingCallResp response;
        QVERIFY(response.ParseFromString(envelope.content()));
        QCOMPARE(response.uuid(), std::string("7f1c-first"));
        QCOMPARE(response.content(), std::string("\x08\x07"));
        QVERIFY(!stream->Read(&envelope) && stream->Finish().ok());
        server->Shutdown();
    }
};

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
