<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>FlashingDialog</name>
    <message>
        <source>Device has been successfully updated.</source>
        <translation>El dispositivo se ha actualizado correctamente.</translation>
    </message>
    <message>
        <source>Update cannot proceed. Make sure your device is connected properly and try again.</source>
        <translation>No se puede continuar con la actualización. Compruebe que el dispositivo esté bien conectado e inténtelo de nuevo.</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>La actualización ha fallado.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Código de error:</translation>
    </message>
</context>
<context>
    <name>FlashingDialogClass</name>
    <message>
        <source>Updating...</source>
        <translation>Actualizando...</translation>
    </message>
    <message>
        <source>Do not disconnect devices during update.</source>
        <translation>No desconecte los dispositivos durante la actualización.</translation>
    </message>
    <message>
        <source>Transmitter</source>
        <translation>Transmisor</translation>
    </message>
    <message>
        <source>Headset</source>
        <translation>Auriculares</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
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
        <translation>Atrás</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Override</source>
        <translation>Omitir la pantalla de inicio</translation>
    </message>
    <message>
        <source>About...</source>
        <translation>Acerca de...</translation>
    </message>
    <message>
        <source>Detecting device...</source>
        <translation>Detectando dispositivo...</translation>
    </message>
    <message>
        <source>Cannot determine if firmware is compatible with the connected device.</source>
        <translation>No se puede determinar si el firmware es compatible con el dispositivo conectado.</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Sin cambios</translation>
    </message>
    <message>
        <source>Incompatible with current file</source>
        <translation>Incompatible con el archivo actual</translation>
    </message>
    <message>
        <source>Incompatible</source>
        <translation>Incompatible</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Conecte los dispositivos</translation>
    </message>
    <message>
        <source>Last update was not completed. Please update again.</source>
        <translation>La última actualización no se completó. Vuelva a actualizar.</translation>
    </message>
    <message>
        <source>Unknown device</source>
        <translation>Dispositivo desconocido</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(NINGUNO)</translation>
    </message>
    <message>
        <source>Unknown version</source>
        <translation>Versión desconocida</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Sin conectar</translation>
    </message>
    <message>
        <source>Error while loading firmware</source>
        <translation>Error al cargar el firmware</translation>
    </message>
    <message>
        <source>Firmware cannot be loaded. File may be corrupted or not supported.
Try to download it once again.</source>
        <translation>No se puede cargar el firmware. Es posible que el archivo esté dañado o no sea compatible.
Intente descargarlo de nuevo.</translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Abrir archivo</translation>
    </message>
    <message>
        <source>Firmware archives %1</source>
        <translation>Archivos de firmware %1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>If you choose to proceed, please make sure you are using the correct firmware file.</source>
        <translation>Si decide continuar, asegúrese de utilizar el archivo de firmware correcto.</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Actualizar</translation>
    </message>
    <message>
        <source>Do not update</source>
        <translation>No actualizar</translation>
    </message>
    <message>
        <source>Only one device can be updated right now.</source>
        <translation>En este momento solo se puede actualizar un dispositivo.</translation>
    </message>
    <message>
        <source>Do you want proceed?</source>
        <translation>¿Desea continuar?</translation>
    </message>
    <message>
        <source>Proceed and update one device</source>
        <translation>Continuar y actualizar un dispositivo</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Modelo desconocido –</translation>
    </message>
    <message>
        <source>No device detected. Connect your headset and transmitter to two separate USB ports on your computer.</source>
        <translation>No se ha detectado ningún dispositivo. Conecte los auriculares y el transmisor a dos puertos USB distintos del equipo.</translation>
    </message>
    <message>
        <source>Success! Please pair devices.</source>
        <translation>¡Actualización completada! Empareje los dispositivos.</translation>
    </message>
    <message>
        <source>Pairing Instructions</source>
        <translation>Instrucciones de emparejamiento</translation>
    </message>
    <message>
        <source>1. Make sure your transmitter and headset are powered on.</source>
        <translation>1. Asegúrese de que el transmisor y los auriculares estén encendidos.</translation>
    </message>
    <message>
        <source>2. Press and hold the Power/Pairing buttons on both Transmitter and Headset for 3 seconds until LEDs begin to flash.</source>
        <translation>2. Mantenga pulsados los botones de encendido/emparejamiento de ambos dispositivos durante 3&#xa0;segundos, hasta que los LED empiecen a parpadear.</translation>
    </message>
    <message>
        <source>3. Once pairing is successful, Power/Pairing LEDs will stop flashing and turn solid.</source>
        <translation>3. Una vez completado el emparejamiento, los LED de encendido/emparejamiento dejan de parpadear y permanecen encendidos.</translation>
    </message>
    <message>
        <source>One or both of your devices have been disconnected. Please reconnect your devices to restart the firmware update process.</source>
        <translation>Se ha desconectado uno de los dispositivos o ambos. Vuelva a conectarlos para comenzar de nuevo la actualización del firmware.</translation>
    </message>
    <message>
        <source>Error code:</source>
        <translation>Código de error:</translation>
    </message>
    <message>
        <source>Update was unsuccessful.</source>
        <translation>La actualización ha fallado.</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Acerca de</translation>
    </message>
    <message>
        <source>
%1
Version %2
</source>
        <translation>
%1
Versión %2
</translation>
    </message>
</context>
<context>
    <name>MainWindowClass</name>
    <message>
        <source>ZEFO VYNT Firmware Update</source>
        <translation>Actualización del firmware ZEFO VYNT</translation>
    </message>
    <message>
        <source>Firmware file:</source>
        <translation>Archivo de firmware:</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Cambiar...</translation>
    </message>
    <message>
        <source>Connected devices:</source>
        <translation>Dispositivos conectados:</translation>
    </message>
    <message>
        <source>(NONE)</source>
        <translation>(NINGUNO)</translation>
    </message>
    <message>
        <source>Please connect devices</source>
        <translation>Conecte los dispositivos</translation>
    </message>
    <message>
        <source>Current firmware versions on devices:</source>
        <translation>Versiones actuales del firmware de los dispositivos:</translation>
    </message>
    <message>
        <source>Transmitter:</source>
        <translation>Transmisor:</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Sin conectar</translation>
    </message>
    <message>
        <source>Headset:</source>
        <translation>Auriculares:</translation>
    </message>
    <message>
        <source>Devices will be updated to firmware versions:</source>
        <translation>Versiones del firmware tras la actualización:</translation>
    </message>
    <message>
        <source>No change</source>
        <translation>Sin cambios</translation>
    </message>
    <message>
        <source>Release notes</source>
        <translation>Notas de la versión</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Actualizar</translation>
    </message>
</context>
</TS>
