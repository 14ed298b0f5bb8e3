#include "osinfo.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <sys/utsname.h>
#include <wordexp.h>

namespace
{

bool beginsWith(const std::string &line, const char *key)
{
    return line.compare(0, std::strlen(key), key) == 0;
}

// Without an '=' the whole line is taken, as the position past "not found" is the start.
std::string behindFirst(const std::string &line, char separator)
{
    return line.substr(line.find(separator) + 1);
}

// strtoull, not strtoul, so that a 32-bit long does not saturate: fields keep
// the low 32 bits of whatever number is written.
std::uint32_t number(const char *from, char **end)
{
    return static_cast<std::uint32_t>(std::strtoull(from, end, 10));
}

// Four numbers, each parsed one character behind where the last one stopped,
// whatever that character is; the end of the text gives 0 to the rest.
void fourNumbers(const char *text, std::uint32_t *const fields[4])
{
    const char *from = text;
    for (int i = 0; i < 4; ++i) {
        char *end = nullptr;
        *fields[i] = number(from, &end);
        if (*end == '\0')
            return;
        from = end + 1;
    }
}

void dropQuotes(std::string &text)
{
    if (!text.empty() && text.back() == '"')
        text.pop_back();
    if (!text.empty() && text.front() == '"')
        text.erase(0, 1);
}

} // namespace

OsInfo osInfoFromOsRelease(std::istream &text)
{
    OsInfo info;
    std::string line;
    while (std::getline(text, line)) {
        if (beginsWith(line, "NAME")) {
            info.name = behindFirst(line, '=');
        } else if (beginsWith(line, "PRETTY_NAME")) {
            info.fullName = behindFirst(line, '=');
        } else if (beginsWith(line, "VERSION_ID")) {
            const std::string value = behindFirst(line, '=');
            const char *from = value.c_str();
            if (*from == '"')
                ++from;
            std::uint32_t *const fields[4] = {&info.major, &info.minor, &info.patch, &info.buildNumber};
            for (int i = 0; i < 4; ++i) {
                char *end = nullptr;
                *fields[i] = number(from, &end);
                if (*end == '\0' || *end == '"')
                    break;
                from = end + 1;
            }
        }
    }
    dropQuotes(info.name);
    dropQuotes(info.fullName);
    return info;
}

OsInfo osInfoFromLsbRelease(std::istream &text)
{
    OsInfo info;
    std::string line;
    while (std::getline(text, line)) {
        if (beginsWith(line, "DISTRIB_ID")) {
            info.name = behindFirst(line, '=');
        } else if (beginsWith(line, "DISTRIB_RELEASE")) {
            const std::string value = behindFirst(line, '=');
            std::uint32_t *const fields[4] = {&info.major, &info.minor, &info.patch, &info.buildNumber};
            fourNumbers(value.c_str(), fields);
        } else if (beginsWith(line, "DISTRIB_DESCRIPTION")) {
            // The last character is taken for the closing quote without looking at it.
            const std::size_t start = line.find('"') + 1;
            info.fullName = start < line.size() ? line.substr(start, line.size() - 1 - start) : std::string();
        }
    }
    return info;
}

OsInfo getOsInfo(const std::string &root)
{
    for (const char *path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream file(root + path);
        if (file)
            return osInfoFromOsRelease(file);
    }
    std::ifstream lsb(root + "/etc/lsb-release");
    if (lsb)
        return osInfoFromLsbRelease(lsb);
    return OsInfo();
}

KernelInfo kernelInfo(const char *systemName, const char *release)
{
    KernelInfo info;
    if (std::strcmp(systemName, "Linux") == 0)
        info.kernel = KernelType::linux;
    else if (std::strcmp(systemName, "Darwin") == 0)
        info.kernel = KernelType::darwin;
    // A dash counts like a dot, so "5.4.0-77-generic" gives 5, 4, 0 and 77.
    std::uint32_t *const fields[4] = {&info.major, &info.minor, &info.patch, &info.buildNumber};
    fourNumbers(release, fields);
    return info;
}

KernelInfo getKernelInfo()
{
    struct utsname name {
    };
    uname(&name);
    return kernelInfo(name.sysname, name.release);
}

MemoryInfo memoryInfo(std::istream &memInfo)
{
    MemoryInfo info;
    std::string line;
    while (std::getline(memInfo, line)) {
        const std::size_t colon = line.find(':');
        const char *from = line.c_str() + (colon == std::string::npos ? 0 : colon + 1);
        const std::uint64_t bytes = std::strtoull(from, nullptr, 10) << 10;
        if (beginsWith(line, "MemTotal"))
            info.physicalTotal = bytes;
        else if (beginsWith(line, "MemAvailable"))
            info.physicalAvailable = bytes;
        else if (beginsWith(line, "VmallocTotal"))
            info.virtualTotal = bytes;
        else if (beginsWith(line, "VmallocUsed"))
            // Relies on the kernel printing VmallocTotal first, which it always does.
            info.virtualAvailable = info.virtualTotal - bytes;
    }
    return info;
}

MemoryInfo getMemoryInfo(const char *memInfoPath)
{
    std::ifstream file(memInfoPath);
    if (!file)
        return MemoryInfo();
    return memoryInfo(file);
}

unsigned countMice(const char *pattern)
{
    // Zeroed so that wordfree finds nothing to free when wordexp failed early.
    wordexp_t words{};
    struct Guard {
        wordexp_t *words;
        ~Guard() { wordfree(words); }
    } guard{&words};
    // Never a command substitution: the pattern is a caller's text and this is no shell.
    const int refused = wordexp(pattern, &words, WRDE_NOCMD);
    if (refused == WRDE_CMDSUB)
        std::fprintf(stderr, "[ countMice ] refused a pattern with a command substitution: %s\n", pattern);
    if (refused != 0)
        return 0;
    // An unmatched pattern comes back unchanged as the one word.
    if (words.we_wordc == 1 && std::strcmp(words.we_wordv[0], pattern) == 0)
        return 0;
    return static_cast<unsigned>(words.we_wordc);
}
