# Checks the program, its package and its detector without simulated devices. Sourced by run.sh.

every_log_line_ends_with_cr_lf() {
    lines=$(cat "$logs"/*.txt | wc -l)
    [ "$lines" -gt 0 ] && [ "$(cat "$logs"/*.txt | grep -c "$(printf '\r')\$")" = "$lines" ]
}

# The program without its package.
wine $updater &
program=$!
check "the start screen shows" tool wait "$title"
check "screen readers get its text" shows "No device detected."
picture start-screen
system_menu=$(tool menu "$title" | tr -d '\r')
check "the system menu has Override directly above About..." \
    text_is "$(echo "$system_menu" | grep -A 1 '^0020')" "$(printf '0020 Override\n0010 About...')"
tool command "$title" 0x20
picture main-page
check "Override changes the screen" picture_differs start-screen main-page
tool keys "$title" space
check "the main page is shown: its first button opens the file dialog" tool wait "Open File"
picture file-dialog
tool close "Open File"
tool command "$title" 0x10
check "About... opens the About box" tool wait About
picture about
tool close About
tool close "$title"
wait $program
check "closing the window ends the program with exit status 0" [ $? -eq 0 ]
check "the log is in its folder, with CR LF line ends" every_log_line_ends_with_cr_lf
check "the log contains the program's folder" log_holds 'Application path:  "Z:/check"'
rm -r "$logs"

# The package, with an archive in its folder. It removes a folder that an earlier package left behind, unless somebody
# holds that folder open.
own_folders() { find "$temporary" -maxdepth 1 -name 'ZEFO_VYNT_Firmware_Update_{*'; }
unpacked() { find "$temporary" -path '*{*' -name "$1"; }
mkdir -p "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}" "$temporary/ZEFO_VYNT_Firmware_Update_{held}"
touch "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}/$updater"
wine holdfolder.exe "$windows_temporary\\ZEFO_VYNT_Firmware_Update_{held}" &
holder=$!
sleep 2
(cd package && exec wine package.exe) &
package=$!
check "the package starts the program" tool wait "$title"
check "the program is unpacked into one temporary folder" [ "$(unpacked $updater | wc -l)" -eq 1 ]
check "the licences are unpacked beside it" [ "$(unpacked licences.txt | wc -l)" -eq 1 ]
check "an earlier package's folder is gone" [ ! -e "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}" ]
check "a folder that somebody holds open remains" [ -e "$temporary/ZEFO_VYNT_Firmware_Update_{held}" ]
own=$(basename "$(dirname "$(unpacked $updater)")")
check "nobody can rename or remove the folder while the program runs" wine holdfolder.exe refused "$windows_temporary\\$own"
picture start-screen-with-archive
tool command "$title" 0x20
check "the main page shows the archive" shows "fw.1.2"
picture main-page-with-archive
tool close "$title"
wait $package
check "the package ends with the program's exit status" [ $? -eq 0 ]
check "the package's program looks for the archive beside the package" log_holds 'Looking firmware file in:  "Z:/check/package"'
check "the package's program loads the archive" log_holds 'PID found: 0x0004 in file: 0x000C'
check "the temporary folder is removed" [ "$(own_folders)" = "$temporary/ZEFO_VYNT_Firmware_Update_{held}" ]
kill $holder
rm -r "$logs"

# A package in which the size of the payload is damaged.
message() { tool message "$title" | tr -d '\r' | grep . | head -n 1; }
wine damaged/package.exe &
package=$!
check "a damaged package says so" text_is "$(message)" \
    "This package is damaged. Please download it again."
tool keys "$title" enter
wait $package
check "a damaged package ends with exit status 1" [ $? -eq 1 ]

# The package, started by an administrator whose temporary folder is on the network share E:.
package_from_share() { wine cmd /c 'set TEMP=E:\& set TMP=E:\& package\package.exe'; }
protected=$WINEPREFIX/drive_c/ProgramData
package_from_share &
package=$!
check "with the temporary folder on a share the package starts the program" tool wait "$title"
check "the program is unpacked in the system's folder for program data" \
    [ "$(find "$protected" -name $updater | wc -l)" -eq 1 ]
check "nothing is unpacked on the share" [ -z "$(find /share -name '*{*')" ]
tool close "$title"
wait $package
check "the folder for program data is clean again" [ "$(find "$protected" -name 'ZEFO_VYNT*' | wc -l)" -eq 0 ]

folders_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders'
wine reg add "$folders_key" /v "Common AppData" /d 'E:\' /f >/dev/null
package_from_share &
package=$!
check "without any drive that can protect the program the package says so" \
    text_is "$(message)" \
    "Could not create a protected folder for the firmware updater."
tool keys "$title" enter
wait $package
wine reg delete "$folders_key" /v "Common AppData" /f >/dev/null

# The detector, against Wine's two HID interfaces, which have no enumerator name.
WINEDEBUG=+setupapi wine detectorcheck.exe 2 >detector.txt 2>setupapi.txt
check "the detector starts and stops 100 times and leaves nothing behind" [ $? -eq 0 ]
cat detector.txt
check "the detector completes and ignores interfaces without an enumerator name" \
    text_is "$(head -n 1 detector.txt | tr -d '\r')" "complete: 0 arrivals, 0 known"
examined() {
    grep -A 5 "SetupDiGetDeviceInstanceIdW instance ID: .*VID_845E&PID_$1" setupapi.txt |
        grep -q 'SetupDiGetDeviceRegistryPropertyW .* prop 22,'
}
check "the detector examined the first interface" examined 0001
check "the detector examined the second interface" examined 0002
