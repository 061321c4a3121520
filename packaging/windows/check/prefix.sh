# Makes /prefix, the Wine prefix with which every run of the checks starts. check.sh runs this script once, inside the
# Debian that has Wine.
cd /check || exit 1
. ./wine.sh
export WINEPREFIX=/new-prefix
wineboot -i && wineserver -w || exit 1
# Makes Wine draw the title bars, because there is no window manager.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f || exit 1
# Adds the drive E:, which Wine reports as a network share.
ln -s /share $WINEPREFIX/dosdevices/e:
wine reg add 'HKLM\Software\Wine\Drives' /v e: /d network /f || exit 1
wineserver -k
wineserver -w
mv $WINEPREFIX /prefix && echo "checks: all hold"
