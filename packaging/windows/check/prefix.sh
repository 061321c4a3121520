# Run by check.sh once, inside the Debian that has Wine: makes the prefix in which every check starts, in /prefix.
cd /check || exit 1
. ./wine.sh
export WINEPREFIX=/new-prefix
wineboot -i && wineserver -w || exit 1
# There is no window manager: Wine draws the title bars.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f || exit 1
# A drive on a share.
ln -s /share $WINEPREFIX/dosdevices/e:
wine reg add 'HKLM\Software\Wine\Drives' /v e: /d network /f || exit 1
wineserver -k
wineserver -w
mv $WINEPREFIX /prefix && echo "checks: all hold"
