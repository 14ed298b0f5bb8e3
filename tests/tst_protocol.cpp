// The generated protocol classes: what the schemas mean on the wire beyond their tables, the method
// table the peers match on, and a blocking call against a real server built from a generated base.
#include <grpcpp/grpcpp.h>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/empty.pb.h>

#include "client/client_core.grpc.pb.h"
#include "client/client_stream.grpc.pb.h"
#include "common/common_core.grpc.pb.h"

#include <chrono>
#include <map>
#include <type_traits>

#include <QtTest>

namespace
{

// Answers each blocking call with its uuid, and the wrapped ClientMsg's vmid as a logoff result.
class StreamService final : public client::ClientStream::Service
{
public:
    grpc::Status
    ClientStream(grpc::ServerContext *,
                 grpc::ServerReaderWriter<common::StreamMessage, common::StreamMessage> *stream) override
    {
        common::StreamMessage message;
        while (stream->Read(&message)) {
            common::BlockingCallReq request;
            client::ClientMsg wrapped;
            if (message.messageid() != common::MESSAGE_ID_REQUEST_OF_BLOCKING_CALL ||
                !request.ParseFromString(message.content()) ||
                !wrapped.ParseFromString(request.originalmessage()))
                return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "not a blocking call");
            client::ClientLogoffMsg logoff;
            logoff.set_result(static_cast<int>(wrapped.vmid()));
            common::BlockingCallResp response;
            response.set_uuid(request.uuid());
            response.set_status(common::OK);
            response.set_content(logoff.SerializeAsString());
            common::StreamMessage reply;
            reply.set_messageid(common::MESSAGE_ID_RESPONSE_OF_BLOCKING_CALL);
            reply.set_content(response.SerializeAsString());
            stream->Write(reply);
        }
        return grpc::Status::OK;
    }
};

} // namespace

class TestProtocol : public QObject
{
    Q_OBJECT

private slots:
    void emptyOnTheWire()
    {
        // A response without error reads as code 0 with both texts empty.
        client::HeartbeatResp heartbeat;
        QVERIFY(heartbeat.ParseFromString(std::string()));
        QVERIFY(!heartbeat.has_error());
        QCOMPARE(heartbeat.error().error_code(), 0);
        QVERIFY(heartbeat.error().error_msg_zh().empty() && heartbeat.error().error_msg_en().empty());

        common::StreamMessage begin;
        begin.set_messageid(common::MSGID_Begin);
        begin.set_content("");
        QVERIFY(begin.SerializeAsString().empty());

        // Same empty bytes, yet the stub takes each in its own signature; a mix-up fails to compile.
        static_assert(!std::is_convertible<common::isUseGatewayReq *, google::protobuf::Empty *>::value,
                      "isUseGatewayReq is a record of its own");
        using Stub = common::CommonCore::StubInterface;
        grpc::Status (Stub::*isUseGateway)(grpc::ClientContext *, const common::isUseGatewayReq &,
                                           common::isUseGatewayResp *) = &Stub::isUseGateway;
        Q_UNUSED(isUseGateway)
        QCOMPARE(common::isUseGatewayReq().ByteSizeLong(), size_t(0));
        QCOMPARE(google::protobuf::Empty().ByteSizeLong(), size_t(0));
        QVERIFY(common::isUseGatewayReq::descriptor() != google::protobuf::Empty::descriptor());
    }

    void oneofAndMaps()
    {
        using Req = client::onekeyHelpUploadReq;
        Req request;
        request.set_content("block");
        request.mutable_onekeyhelpuploadreqmeta()->set_taskid(9);
        QCOMPARE(request.oneof_content_case(), Req::kOnekeyHelpUploadReqMeta);
        QVERIFY(request.content().empty());
        Req block;
        block.set_content("again");
        // Both sides on the wire: the one read last wins.
        QVERIFY(request.ParseFromString(request.SerializeAsString() + block.SerializeAsString()));
        QCOMPARE(request.oneof_content_case(), Req::kContent);
        QVERIFY(!request.has_onekeyhelpuploadreqmeta());

        const std::map<std::string, std::string> pairs = {{"00:11:22:33:44:55", "192.0.2.10"},
                                                          {"66:77:88:99:aa:bb", ""}};
        common::KeepAliveMessage keepAlive;
        keepAlive.mutable_macip()->insert(pairs.begin(), pairs.end());
        common::KeepAliveMessage back;
        QVERIFY(back.ParseFromString(keepAlive.SerializeAsString()));
        QVERIFY((std::map<std::string, std::string>(back.macip().begin(), back.macip().end()) == pairs));
        // A peer's entry: key at 1, value at 2, under the map's own number.
        QVERIFY(back.ParseFromString(std::string("\x0a\x08\x0a\x01k\x12\x03v.1", 10)));
        QCOMPARE(back.macip_size(), 1);
        QCOMPARE(back.macip().at("k"), std::string("v.1"));
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
        grpc::ServerBuilder builder;
        builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
        builder.RegisterService(&service);
        const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
        QVERIFY(server && port > 0);
        const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(10);
        auto stub = client::ClientStream::NewStub(
            grpc::CreateChannel("127.0.0.1:" + std::to_string(port), grpc::InsecureChannelCredentials()));
        grpc::ClientContext context;
        context.set_deadline(deadline);
        auto stream = stub->ClientStream(&context);

        client::ClientMsg wrapped;
        wrapped.set_vmid(7);
        common::BlockingCallReq request;
        request.set_uuid("7f1c-first");
        request.set_originalmessage(wrapped.SerializeAsString());
        common::StreamMessage envelope;
        envelope.set_messageid(64);
        envelope.set_content(request.SerializeAsString());
        QVERIFY(stream->Write(envelope));
        QVERIFY(stream->WritesDone());
        QVERIFY(stream->Read(&envelope));
        QCOMPARE(envelope.messageid(), 65);
        common::BlockingCallResp response;
        client::ClientLogoffMsg logoff;
        QVERIFY(response.ParseFromString(envelope.content()) && logoff.ParseFromString(response.content()));
        QCOMPARE(response.uuid(), std::string("7f1c-first"));
        QCOMPARE(response.status(), int(common::OK));
        QCOMPARE(logoff.result(), 7);
        QVERIFY(!stream->Read(&envelope));
        QVERIFY(stream->Finish().ok());
        server->Shutdown(deadline);
    }
};

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
