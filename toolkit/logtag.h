// The opening shared by every log line of the toolkit: "[", the function's own
// name and "]", so that lines of one function can be picked out of the log.
#pragma once
#include <QDebug>

namespace toolkitlog
{
inline QDebug tag(QDebug stream, const char *function)
{
    return stream << "[" << function << "]";
}
} // namespace toolkitlog
