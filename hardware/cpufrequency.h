// The three sources of the processor frequency and how each one's text is read.
// getCpuFrequency (declared in cpu.h) keeps the highest figure of: the kernel's
// last "cpu MHz" line, the firmware's last "Max Speed" and every "MHz" line of lscpu.
#pragma once
#include <QByteArray>
#include <QList>
#include <cstdint>
#include <string>

// As getCpuFrequency, with the kernel's figures read from cpuInfoPath.
std::uint64_t getCpuFrequency(const std::string &cpuInfoPath);

// A command's standard output, trimmed and cut at every line feed.
QList<QByteArray> commandOutputLines(const QByteArray &output);

// The last "Max Speed" line of "dmidecode -t 4", or start when there is none.
// The last line decides even when it says "Unknown" and so gives 0.
std::uint64_t dmidecodeFrequency(const QList<QByteArray> &lines, std::uint64_t start);

// The highest of start and the last number of every lscpu line that holds "MHz".
std::uint64_t lscpuFrequency(const QList<QByteArray> &lines, std::uint64_t start);
