<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>FlashingDialog</name>
    <message>
        <source>Device has been successfully updated.</source>
        <translation>L&apos;appareil a été mis à jour avec succès.</translation>
    </message>
    <message>
        <source>Update cannot proceed. Make sure your device is connected properly and try again.</source>
        <translation>La mise à jour ne peut pas se poursuivre. Vérifiez que l&apos;appareil est correctement branché, puis réessayez.</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>La mise à jour a échoué.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Code d&apos;erreur&#xa0;:</translation>
    </message>
</context>
<context>
    <name>FlashingDialogClass</name>
    <message>
        <source>Updating...</source>
        <translation>Mise à jour en cours...</translation>
    </message>
    <message>
        <source>Do not disconnect devices during update.</source>
        <translation>Ne débranchez pas les appareils pendant la mise à jour.</translation>
    </message>
    <message>
        <source>Transmitter</source>
        <translation>Émetteur</translation>
    </message>
    <message>
        <source>Headset</source>
        <translation>Casque</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
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
        <translation>Précédent</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Override</source>
        <translation>Passer l&apos;écran d&apos;accueil</translation>
    </message>
    <message>
        <source>About...</source>
        <translation>À propos...</translation>
    </message>
    <message>
        <source>Detecting device...</source>
        <translation>Détection de l&apos;appareil...</translation>
    </message>
    <message>
        <source>Cannot determine if firmware is compatible with the connected device.</source>
        <translation>Impossible de déterminer si le firmware est compatible avec l&apos;appareil connecté.</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Aucun changement</translation>
    </message>
    <message>
        <source>Incompatible with current file</source>
        <translation>Incompatible avec le fichier actuel</translation>
    </message>
    <message>
        <source>Incompatible</source>
        <translation>Incompatible</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Veuillez brancher les appareils</translation>
    </message>
    <message>
        <source>Last update was not completed. Please update again.</source>
        <translation>La dernière mise à jour n&apos;a pas été terminée. Veuillez recommencer.</translation>
    </message>
    <message>
        <source>Unknown device</source>
        <translation>Appareil inconnu</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(AUCUN)</translation>
    </message>
    <message>
        <source>Unknown version</source>
        <translation>Version inconnue</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Déconnecté</translation>
    </message>
    <message>
        <source>Error while loading firmware</source>
        <translation>Erreur lors du chargement du firmware</translation>
    </message>
    <message>
        <source>Firmware cannot be loaded. File may be corrupted or not supported.
Try to download it once again.</source>
        <translation>Impossible de charger le firmware. Le fichier est peut-être endommagé ou n&apos;est pas pris en charge.
Essayez de le télécharger à nouveau.</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Ouvrir un fichier</translation>
    </message>
    <message>
        <source>Firmware archives %1</source>
        <translation>Archives de firmware %1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Avertissement</translation>
    </message>
    <message>
        <source>If you choose to proceed, please make sure you are using the correct firmware file.</source>
        <translation>Si vous choisissez de continuer, assurez-vous d&apos;utiliser le bon fichier de firmware.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Mettre à jour</translation>
    </message>
    <message>
        <source>Do not update</source>
        <translation>Ne pas mettre à jour</translation>
    </message>
    <message>
        <source>Only one device can be updated right now.</source>
        <translation>Un seul appareil peut être mis à jour pour le moment.</translation>
    </message>
    <message>
        <source>Do you want proceed?</source>
        <translation>Voulez-vous continuer&#xa0;?</translation>
    </message>
    <message>
        <source>Proceed and update one device</source>
        <translation>Continuer et mettre à jour un appareil</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Modèle inconnu –</translation>
    </message>
    <message>
        <source>No device detected. Connect your headset and transmitter to two separate USB ports on your computer.</source>
        <translation>Aucun appareil détecté. Branchez votre casque et votre émetteur sur deux ports USB différents de votre ordinateur.</translation>
    </message>
    <message>
        <source>Success! Please pair devices.</source>
        <translation>Mise à jour réussie&#xa0;! Veuillez appairer les appareils.</translation>
    </message>
    <message>
        <source>Pairing Instructions</source>
        <translation>Instructions d&apos;appairage</translation>
    </message>
    <message>
        <source>1. Make sure your transmitter and headset are powered on.</source>
        <translation>1. Assurez-vous que l&apos;émetteur et le casque sont sous tension.</translation>
    </message>
    <message>
        <source>2. Press and hold the Power/Pairing buttons on both Transmitter and Headset for 3 seconds until LEDs begin to flash.</source>
        <translation>2. Maintenez enfoncés les boutons Marche/Appairage de l&apos;émetteur et du casque pendant 3&#xa0;secondes, jusqu&apos;à ce que les LED commencent à clignoter.</translation>
    </message>
    <message>
        <source>3. Once pairing is successful, Power/Pairing LEDs will stop flashing and turn solid.</source>
        <translation>3. Une fois l&apos;appairage réussi, les LED Marche/Appairage cessent de clignoter et restent allumées.</translation>
    </message>
    <message>
        <source>One or both of your devices have been disconnected. Please reconnect your devices to restart the firmware update process.</source>
        <translation>L&apos;un de vos appareils ou les deux ont été déconnectés. Rebranchez-les pour recommencer la mise à jour du firmware.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Code d&apos;erreur&#xa0;:</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>La mise à jour a échoué.</translation>
    </message>
    <message>
        <source>About</source>
        <translation>À propos</translation>
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
        <translation>Mise à jour du firmware ZEFO VYNT</translation>
    </message>
    <message>
        <source>Firmware file:</source>
        <translation>Fichier de firmware&#xa0;:</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Modifier...</translation>
    </message>
    <message>
        <source>Connected devices:</source>
        <translation>Appareils connectés&#xa0;:</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(AUCUN)</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Veuillez brancher les appareils</translation>
    </message>
    <message>
        <source>Current firmware versions on devices:</source>
        <translation>Versions actuelles du firmware des appareils&#xa0;:</translation>
    </message>
    <message>
        <source>Transmitter:</source>
        <translation>Émetteur&#xa0;:</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Déconnecté</translation>
    </message>
    <message>
        <source>Headset:</source>
        <translation>Casque&#xa0;:</translation>
    </message>
    <message>
        <source>Devices will be updated to firmware versions:</source>
        <translation>Versions du firmware après la mise à jour&#xa0;:</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Aucun changement</translation>
    </message>
    <message>
        <source>Release notes</source>
        <translation>Notes de version</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Mettre à jour</translation>
    </message>
</context>
</TS>
