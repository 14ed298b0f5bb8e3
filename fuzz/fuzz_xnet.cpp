// XNet's text checks of addresses and masks. Every line of the input is an address,
// a MAC and a mask at once; the lines together are the MAC list the VPN filter picks
// a replacement from, with the first line as the MAC to filter. Prefixes come from
// the first line's number and from the first four bytes as raw bits.
#include <QSet>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fuzzing.h"
#include "xnet.h"

namespace
{

// The 33 masks prefixToMask writes, in order of their prefix.
QStringList masks;
QSet<QString> maskSet;

void checkPrefix(quint32 prefix)
{
    const QString mask = XNet::prefixToMask(prefix);
    if (prefix > 32) {
        if (!mask.isNull())
            fuzzing::fail("prefixToMask wrote a mask for a prefix above 32", mask);
        return;
    }
    if (XNet::maskToPrefix(mask) != int(prefix))
        fuzzing::fail("maskToPrefix does not give back the prefix of", mask);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzing::dropLog();
    for (quint32 prefix = 0; prefix <= 32; ++prefix)
        masks << XNet::prefixToMask(prefix);
    maskSet = QSet<QString>(masks.cbegin(), masks.cend());
    // The round trip below means nothing if the masks themselves are wrong.
    if (maskSet.size() != 33 || masks.first() != QLatin1String("0.0.0.0") ||
        masks.at(24) != QLatin1String("255.255.255.0") || masks.last() != QLatin1String("255.255.255.255"))
        fuzzing::fail("prefixToMask writes wrong masks, e.g.", masks.value(24));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QStringList lines = text.split(QLatin1Char('\n'));

    for (const QString &line : lines) {
        const bool ip = XNet::checkIp(line);
        const QString filtered = XNet::filterInvalidIp(line);
        if (filtered != (ip ? line : QString()))
            fuzzing::fail("filterInvalidIp and checkIp disagree on", line);
        // Four octets of at most three digits and the three dots between them.
        const int length = line.trimmed().size();
        if (ip && (length < 7 || length > 15 || line.count(QLatin1Char('.')) != 3))
            fuzzing::fail("checkIp passed what is no dotted quad", line);

        if (XNet::checkMAC(line) && line.trimmed().size() != 17)
            fuzzing::fail("checkMAC passed what is not six pairs of hex digits", line);

        const int prefix = XNet::maskToPrefix(line);
        if (prefix < -1 || prefix > 32)
            fuzzing::fail("maskToPrefix gave a prefix out of range for", line);
        if (maskSet.contains(line) && masks.value(prefix) != line)
            fuzzing::fail("a mask does not survive maskToPrefix and prefixToMask", line);
    }

    // Only 0 to 32 and the rest are told apart, so one prefix from text and one from bits do.
    checkPrefix(lines.first().toUInt(nullptr, 10));
    const QString mac = lines.first();
    const QString chosen = XNet::filterInvalidVpnMac(mac, lines);
    if (chosen != mac && (chosen.isEmpty() || !lines.contains(chosen)))
        fuzzing::fail("filterInvalidVpnMac gave a MAC that was not in the list", chosen);

    quint32 raw = 0;
    if (size > 0)
        std::memcpy(&raw, data, qMin(size, sizeof raw));
    checkPrefix(raw);
    return 0;
}
