<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>FlashingDialog</name>
    <message>
        <source>Device has been successfully updated.</source>
        <translation>Das Gerät wurde erfolgreich aktualisiert.</translation>
    </message>
    <message>
        <source>Update cannot proceed. Make sure your device is connected properly and try again.</source>
        <translation>Die Aktualisierung kann nicht fortgesetzt werden. Prüfen Sie, ob das Gerät richtig angeschlossen ist, und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>Die Aktualisierung ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Fehlercode:</translation>
    </message>
</context>
<context>
    <name>FlashingDialogClass</name>
    <message>
        <source>Updating...</source>
        <translation>Aktualisierung läuft...</translation>
    </message>
    <message>
        <source>Do not disconnect devices during update.</source>
        <translation>Ziehen Sie die Geräte während der Aktualisierung nicht ab.</translation>
    </message>
    <message>
        <source>Transmitter</source>
        <translation>Sender</translation>
    </message>
    <message>
        <source>Headset</source>
        <translation>Headset</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>InfoScreenClass</name>
    <message>
        <source>%1 FIRMWARE</source>
        <translation>%1 FIRMWARE</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Override</source>
        <translation>Startbildschirm überspringen</translation>
    </message>
    <message>
        <source>About...</source>
        <translation>Info...</translation>
    </message>
    <message>
        <source>Detecting device...</source>
        <translation>Geräte werden gesucht...</translation>
    </message>
    <message>
        <source>Cannot determine if firmware is compatible with the connected device.</source>
        <translation>Es kann nicht festgestellt werden, ob die Firmware mit dem angeschlossenen Gerät kompatibel ist.</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Keine Änderung</translation>
    </message>
    <message>
        <source>Incompatible with current file</source>
        <translation>Nicht kompatibel mit der aktuellen Datei</translation>
    </message>
    <message>
        <source>Incompatible</source>
        <translation>Nicht kompatibel</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Bitte Geräte anschließen</translation>
    </message>
    <message>
        <source>Last update was not completed. Please update again.</source>
        <translation>Letzte Aktualisierung nicht abgeschlossen. Bitte erneut aktualisieren.</translation>
    </message>
    <message>
        <source>Unknown device</source>
        <translation>Unbekanntes Gerät</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(KEINE)</translation>
    </message>
    <message>
        <source>Unknown version</source>
        <translation>Unbekannte Version</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Nicht angeschlossen</translation>
    </message>
    <message>
        <source>Error while loading firmware</source>
        <translation>Fehler beim Laden der Firmware</translation>
    </message>
    <message>
        <source>Firmware cannot be loaded. File may be corrupted or not supported.
Try to download it once again.</source>
        <translation>Die Firmware kann nicht geladen werden. Die Datei ist möglicherweise beschädigt oder wird nicht unterstützt.
Versuchen Sie, sie erneut herunterzuladen.</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Datei öffnen</translation>
    </message>
    <message>
        <source>Firmware archives %1</source>
        <translation>Firmware-Archive %1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>If you choose to proceed, please make sure you are using the correct firmware file.</source>
        <translation>Wenn Sie fortfahren möchten, vergewissern Sie sich, dass Sie die richtige Firmware-Datei verwenden.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Do not update</source>
        <translation>Nicht aktualisieren</translation>
    </message>
    <message>
        <source>Only one device can be updated right now.</source>
        <translation>Derzeit kann nur ein Gerät aktualisiert werden.</translation>
    </message>
    <message>
        <source>Do you want proceed?</source>
        <translation>Möchten Sie fortfahren?</translation>
    </message>
    <message>
        <source>Proceed and update one device</source>
        <translation>Fortfahren und nur ein Gerät aktualisieren</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekanntes Modell –</translation>
    </message>
    <message>
        <source>No device detected. Connect your headset and transmitter to two separate USB ports on your computer.</source>
        <translation>Kein Gerät erkannt. Schließen Sie Headset und Sender an zwei verschiedene USB-Anschlüsse Ihres Computers an.</translation>
    </message>
    <message>
        <source>Success! Please pair devices.</source>
        <translation>Aktualisierung erfolgreich! Bitte koppeln Sie die Geräte.</translation>
    </message>
    <message>
        <source>Pairing Instructions</source>
        <translation>Anleitung zum Koppeln</translation>
    </message>
    <message>
        <source>1. Make sure your transmitter and headset are powered on.</source>
        <translation>1. Vergewissern Sie sich, dass Sender und Headset eingeschaltet sind.</translation>
    </message>
    <message>
        <source>2. Press and hold the Power/Pairing buttons on both Transmitter and Headset for 3 seconds until LEDs begin to flash.</source>
        <translation>2. Halten Sie die Einschalt-/Kopplungstasten an Sender und Headset 3&#xa0;Sekunden lang gedrückt, bis die LEDs zu blinken beginnen.</translation>
    </message>
    <message>
        <source>3. Once pairing is successful, Power/Pairing LEDs will stop flashing and turn solid.</source>
        <translation>3. Nach erfolgreicher Kopplung hören die Einschalt-/Kopplungs-LEDs auf zu blinken und leuchten dauerhaft.</translation>
    </message>
    <message>
        <source>One or both of your devices have been disconnected. Please reconnect your devices to restart the firmware update process.</source>
        <translation>Die Verbindung zu einem oder beiden Geräten wurde unterbrochen. Schließen Sie die Geräte wieder an, um die Aktualisierung der Firmware neu zu beginnen.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Fehlercode:</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>Die Aktualisierung ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Info</translation>
    </message>
    <message>
        <source>
%1
Version %2
</source>
        <translation>
%1
Version %2
</translation>
    </message>
</context>
<context>
    <name>MainWindowClass</name>
    <message>
        <source>ZEFO VYNT Firmware Update</source>
        <translation>ZEFO VYNT Firmware-Aktualisierung</translation>
    </message>
    <message>
        <source>Firmware file:</source>
        <translation>Firmware-Datei:</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Ändern...</translation>
    </message>
    <message>
        <source>Connected devices:</source>
        <translation>Angeschlossene Geräte:</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(KEINE)</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Bitte Geräte anschließen</translation>
    </message>
    <message>
        <source>Current firmware versions on devices:</source>
        <translation>Aktuelle Firmware-Versionen der Geräte:</translation>
    </message>
    <message>
        <source>Transmitter:</source>
        <translation>Sender:</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Nicht angeschlossen</translation>
    </message>
    <message>
        <source>Headset:</source>
        <translation>Headset:</translation>
    </message>
    <message>
        <source>Devices will be updated to firmware versions:</source>
        <translation>Firmware-Versionen nach der Aktualisierung:</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Keine Änderung</translation>
    </message>
    <message>
        <source>Release notes</source>
        <translation>Versionshinweise</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
</context>
</TS>
