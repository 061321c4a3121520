<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it" sourcelanguage="en">
<context>
    <name>FlashingDialog</name>
    <message>
        <source>Device has been successfully updated.</source>
        <translation>Il dispositivo è stato aggiornato correttamente.</translation>
    </message>
    <message>
        <source>Update cannot proceed. Make sure your device is connected properly and try again.</source>
        <translation>Impossibile continuare l&apos;aggiornamento. Verificare che il dispositivo sia collegato correttamente e riprovare.</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>Aggiornamento non riuscito.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Codice di errore:</translation>
    </message>
</context>
<context>
    <name>FlashingDialogClass</name>
    <message>
        <source>Updating...</source>
        <translation>Aggiornamento in corso...</translation>
    </message>
    <message>
        <source>Do not disconnect devices during update.</source>
        <translation>Non scollegare i dispositivi durante l&apos;aggiornamento.</translation>
    </message>
    <message>
        <source>Transmitter</source>
        <translation>Trasmettitore</translation>
    </message>
    <message>
        <source>Headset</source>
        <translation>Cuffie</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Chiudi</translation>
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
        <translation>Indietro</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Chiudi</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Override</source>
        <translation>Ignora la schermata iniziale</translation>
    </message>
    <message>
        <source>About...</source>
        <translation>Informazioni...</translation>
    </message>
    <message>
        <source>Detecting device...</source>
        <translation>Rilevamento del dispositivo...</translation>
    </message>
    <message>
        <source>Cannot determine if firmware is compatible with the connected device.</source>
        <translation>Impossibile determinare se il firmware è compatibile con il dispositivo collegato.</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Nessuna modifica</translation>
    </message>
    <message>
        <source>Incompatible with current file</source>
        <translation>Incompatibile con il file attuale</translation>
    </message>
    <message>
        <source>Incompatible</source>
        <translation>Incompatibile</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Collegare i dispositivi</translation>
    </message>
    <message>
        <source>Last update was not completed. Please update again.</source>
        <translation>L&apos;ultimo aggiornamento non è stato completato. Aggiornare di nuovo.</translation>
    </message>
    <message>
        <source>Unknown device</source>
        <translation>Dispositivo sconosciuto</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(NESSUNO)</translation>
    </message>
    <message>
        <source>Unknown version</source>
        <translation>Versione sconosciuta</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Nessun collegamento</translation>
    </message>
    <message>
        <source>Error while loading firmware</source>
        <translation>Errore durante il caricamento del firmware</translation>
    </message>
    <message>
        <source>Firmware cannot be loaded. File may be corrupted or not supported.
Try to download it once again.</source>
        <translation>Impossibile caricare il firmware. Il file potrebbe essere danneggiato o non supportato.
Provare a scaricarlo di nuovo.</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Apri file</translation>
    </message>
    <message>
        <source>Firmware archives %1</source>
        <translation>Archivi firmware %1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Avviso</translation>
    </message>
    <message>
        <source>If you choose to proceed, please make sure you are using the correct firmware file.</source>
        <translation>Se si sceglie di continuare, assicurarsi di utilizzare il file del firmware corretto.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aggiorna</translation>
    </message>
    <message>
        <source>Do not update</source>
        <translation>Non aggiornare</translation>
    </message>
    <message>
        <source>Only one device can be updated right now.</source>
        <translation>Al momento è possibile aggiornare un solo dispositivo.</translation>
    </message>
    <message>
        <source>Do you want proceed?</source>
        <translation>Continuare?</translation>
    </message>
    <message>
        <source>Proceed and update one device</source>
        <translation>Continua e aggiorna un dispositivo</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Modello sconosciuto –</translation>
    </message>
    <message>
        <source>No device detected. Connect your headset and transmitter to two separate USB ports on your computer.</source>
        <translation>Nessun dispositivo rilevato. Collegare le cuffie e il trasmettitore a due porte USB diverse del computer.</translation>
    </message>
    <message>
        <source>Success! Please pair devices.</source>
        <translation>Aggiornamento riuscito! Abbinare i dispositivi.</translation>
    </message>
    <message>
        <source>Pairing Instructions</source>
        <translation>Istruzioni per l&apos;abbinamento</translation>
    </message>
    <message>
        <source>1. Make sure your transmitter and headset are powered on.</source>
        <translation>1. Assicurarsi che il trasmettitore e le cuffie siano accesi.</translation>
    </message>
    <message>
        <source>2. Press and hold the Power/Pairing buttons on both Transmitter and Headset for 3 seconds until LEDs begin to flash.</source>
        <translation>2. Tenere premuti i pulsanti di accensione/abbinamento del trasmettitore e delle cuffie per 3&#xa0;secondi, finché i LED non iniziano a lampeggiare.</translation>
    </message>
    <message>
        <source>3. Once pairing is successful, Power/Pairing LEDs will stop flashing and turn solid.</source>
        <translation>3. Una volta riuscito l&apos;abbinamento, i LED di accensione/abbinamento smettono di lampeggiare e restano accesi.</translation>
    </message>
    <message>
        <source>One or both of your devices have been disconnected. Please reconnect your devices to restart the firmware update process.</source>
        <translation>Uno o entrambi i dispositivi sono stati scollegati. Ricollegarli per ricominciare l&apos;aggiornamento del firmware.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Codice di errore:</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>Aggiornamento non riuscito.</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Informazioni</translation>
    </message>
    <message>
        <source>
%1
Version %2
</source>
        <translation>
%1
Versione %2
</translation>
    </message>
</context>
<context>
    <name>MainWindowClass</name>
    <message>
        <source>ZEFO VYNT Firmware Update</source>
        <translation>Aggiornamento del firmware ZEFO VYNT</translation>
    </message>
    <message>
        <source>Firmware file:</source>
        <translation>File del firmware:</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Cambia...</translation>
    </message>
    <message>
        <source>Connected devices:</source>
        <translation>Dispositivi collegati:</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(NESSUNO)</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Collegare i dispositivi</translation>
    </message>
    <message>
        <source>Current firmware versions on devices:</source>
        <translation>Versioni attuali del firmware dei dispositivi:</translation>
    </message>
    <message>
        <source>Transmitter:</source>
        <translation>Trasmettitore:</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Nessun collegamento</translation>
    </message>
    <message>
        <source>Headset:</source>
        <translation>Cuffie:</translation>
    </message>
    <message>
        <source>Devices will be updated to firmware versions:</source>
        <translation>Versioni del firmware dopo l&apos;aggiornamento:</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Nessuna modifica</translation>
    </message>
    <message>
        <source>Release notes</source>
        <translation>Note sulla versione</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aggiorna</translation>
    </message>
</context>
</TS>
