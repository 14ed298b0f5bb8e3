<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>main</name>
    <message><source>硬件检测</source><translation>Hardware detection</translation></message>
    <message><source>关闭</source><translation>close</translation></message>
    <message><source>CPU主频低</source><translation>Low CPU frequency</translation></message>
    <message><source>本机</source><translation>native</translation></message>
    <message><source>推荐</source><translation>recommend</translation></message>
    <message><source>以上</source><translation>or more</translation></message>
    <message><source>内存</source><translation>RAM</translation></message>
    <message><source>内存过低</source><translation>Memory is too low</translation></message>
    <message><source>网络</source><translation>Network</translation></message>
    <message><source>故障</source><translation>malfunction</translation></message>
    <message><source>状态</source><translation>status</translation></message>
    <message><source>良好</source><translation>good</translation></message>
    <message><source>客户端当前配置地址</source><translation>Client current configuration address</translation></message>
    <message><source>磁盘</source><translation>Disk</translation></message>
    <message><source>系统</source><translation>Operating System</translation></message>
</context>
<context>
    <name>check</name>
    <message><source>通过</source><translation>pass</translation></message>
    <message><source>未通过</source><translation>fail</translation></message>
    <message><source>结论：本终端满足桌面客户端的要求</source><translation>Verdict: this terminal suits the desktop client</translation></message>
    <message><source>结论：本终端不满足桌面客户端的要求</source><translation>Verdict: this terminal does not suit the desktop client</translation></message>
</context>
</TS>
