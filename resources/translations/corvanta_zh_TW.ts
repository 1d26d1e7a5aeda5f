<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
    <name>DetectMsg</name>
    <message>
        <source>OK</source>
        <translation>確認</translation>
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
        <translation>3G/4G 狀態</translation>
    </message>
    <message>
        <source>APN Auth Methods:</source>
        <translation>APN認證模式:</translation>
    </message>
    <message>
        <source>APN NAME:</source>
        <translation>APN名稱:</translation>
    </message>
    <message>
        <source>AUTO</source>
        <translation>自動</translation>
    </message>
    <message>
        <source>Auto Connect:</source>
        <translation>自動連線:</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>連線</translation>
    </message>
    <message>
        <source>Connect Fail! Please Check the Parameter And Try Again!</source>
        <translation>連線失敗，請確認連線參數並重新連線</translation>
    </message>
    <message>
        <source>Counts:</source>
        <translation>連線次數</translation>
    </message>
    <message>
        <source>Dial Num:</source>
        <translation>撥號號碼</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>中斷連線</translation>
    </message>
    <message>
        <source>Dongle Status:</source>
        <translation>USB網卡狀態:</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>離開</translation>
    </message>
    <message>
        <source>Misc Setting</source>
        <translation>其他設定</translation>
    </message>
    <message>
        <source>NO</source>
        <translation>不自動</translation>
    </message>
    <message>
        <source>PASSWORD:</source>
        <translation>密碼:</translation>
    </message>
    <message>
        <source>PPP Status:</source>
        <translation>PPP連線狀態:</translation>
    </message>
    <message>
        <source>PinCode:</source>
        <translation>Pin碼:</translation>
    </message>
    <message>
        <source>USER:</source>
        <translation>使用者名稱:</translation>
    </message>
    <message>
        <source>Undetected dongle,Please plugin and wait a moment!</source>
        <translation>未偵測到USB網卡，請重新插入並等待一段時間!</translation>
    </message>
    <message>
        <source>YES</source>
        <translation>自動</translation>
    </message>
    <message>
        <source>connected</source>
        <translation>已連線</translation>
    </message>
    <message>
        <source>detected</source>
        <translation>已偵測</translation>
    </message>
    <message>
        <source>disconnected</source>
        <translation>未連線</translation>
    </message>
    <message>
        <source>undetected</source>
        <translation>未偵測</translation>
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
        <translation>未偵測到USB網卡，請重新插入並等待一段時間!</translation>
    </message>
    <message>
        <source>3G</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
