<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
    <name>DetectMsg</name>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Makeup</name>
    <message>
        <source>3G/4G Status</source>
        <translation>3G/4G 状态</translation>
    </message>
    <message>
        <source>APN Auth Methods:</source>
        <translation>APN 认证模式:</translation>
    </message>
    <message>
        <source>APN NAME:</source>
        <translation>APN名称:</translation>
    </message>
    <message>
        <source>AUTO</source>
        <translation>自动</translation>
    </message>
    <message>
        <source>Auto Connect:</source>
        <translation>自动连线:</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>连线</translation>
    </message>
    <message>
        <source>Connect Fail! Please Check the Parameter And Try Again!</source>
        <translation>连线错误,请确认连线参数并重新连线</translation>
    </message>
    <message>
        <source>Counts:</source>
        <translation>连线次数</translation>
    </message>
    <message>
        <source>Dial Num:</source>
        <translation>拨号码</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>中断连线</translation>
    </message>
    <message>
        <source>Dongle Status:</source>
        <translation>网卡状态:</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>结束</translation>
    </message>
    <message>
        <source>Misc Setting</source>
        <translation>其他设定</translation>
    </message>
    <message>
        <source>NO</source>
        <translation>不自动</translation>
    </message>
    <message>
        <source>PASSWORD:</source>
        <translation>密码:</translation>
    </message>
    <message>
        <source>PPP Status:</source>
        <translation>PPP连线状态:</translation>
    </message>
    <message>
        <source>PinCode:</source>
        <translation>Pin码:</translation>
    </message>
    <message>
        <source>USER:</source>
        <translation>用户名:</translation>
    </message>
    <message>
        <source>Undetected dongle,Please plugin and wait a moment!</source>
        <translation>未侦测到网卡,请重新插拔并稍后</translation>
    </message>
    <message>
        <source>YES</source>
        <translation>自动</translation>
    </message>
    <message>
        <source>connected</source>
        <translation>已连线</translation>
    </message>
    <message>
        <source>detected</source>
        <translation>已侦测</translation>
    </message>
    <message>
        <source>disconnected</source>
        <translation>未连线</translation>
    </message>
    <message>
        <source>undetected</source>
        <translation>未侦测</translation>
    </message>
    <message>
        <source>PAP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CHAP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Signal Strength:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No Signal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>3G/4G Setting</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>Undetected dongle,Please plugin and wait a moment!</source>
        <translation>未侦测到网卡,请重新插拔并稍后</translation>
    </message>
    <message>
        <source>3G</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
