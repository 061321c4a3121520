# Checks the program and its package without simulated devices. run.sh sources this file.

every_log_line_ends_with_cr_lf() {
    lines=$(cat "$logs"/*.txt | wc -l)
    [ "$lines" -gt 0 ] && [ "$(cat "$logs"/*.txt | grep -c "$(printf '\r')\$")" = "$lines" ]
}

# examined PRODUCT: whether the program asked Wine for property 22, the enumerator's name, of the HID interface with the
# product identifier PRODUCT. Wine does not know this property, so the program must ignore the interface.
examined() {
    grep -A 5 "SetupDiGetDeviceInstanceIdW instance ID: .*VID_845E&PID_$1" setupapi.txt |
        grep -q 'SetupDiGetDeviceRegistryPropertyW .* prop 22,'
}

# Starts the program without its package.
WINEDEBUG=+setupapi wine $updater 2>setupapi.txt &
program=$!
check "the start screen shows" tool wait "$title"
check "the program examines the first HID interface of Wine" within 120 examined 0001
check "the program examines the second HID interface of Wine" within 120 examined 0002
check "the program ignores both interfaces, since they have no enumerator name; its window says that there is no device" \
    shows "No device detected."
picture start-screen
# The system menu ends with the items Override, About..., Close, and an item of Wine.
choose_system_item up up up up up
picture main-page
check "the item above About... in the system menu is Override: this item changes the screen" \
    picture_differs start-screen main-page
tool keys "$title" space
check "the main page is shown: its first button opens the file dialog" tool wait "Open File"
picture file-dialog
tool close "Open File"
choose_system_item up up up up
check "the item above Close in the system menu is About...: this item opens the About box" tool wait About
picture about
tool close About
tool close "$title"
wait $program
check "closing the window ends the program with exit status 0" [ $? -eq 0 ]
check "the log is in its folder, with CR LF line ends" every_log_line_ends_with_cr_lf
check "the log contains the program's folder" log_holds 'Application path:  "Z:/check"'
rm -r "$logs"

# Starts the package, with a firmware archive in the package's folder. Two folders of earlier packages exist. The
# package must remove the first one. It must keep the second one, because another program holds it open.

# is_held FOLDER: whether a program holds FOLDER open, so that the system refuses to rename FOLDER. FOLDER is the name
# of a folder in the temporary folder.
is_held() { ! wine cmd /c ren "$windows_temporary\\$1" renamed >/dev/null && [ -d "$temporary/$1" ]; }
own_folders() { find "$temporary" -maxdepth 1 -name 'ZEFO_VYNT_Firmware_Update_{*'; }
unpacked() { find "$temporary" -path '*{*' -name "$1"; }
mkdir -p "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}" "$temporary/ZEFO_VYNT_Firmware_Update_{held}"
touch "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}/$updater"
mkfifo hold
(cd "$temporary/ZEFO_VYNT_Firmware_Update_{held}" && exec wine cmd <"$OLDPWD/hold" >"$OLDPWD/holder.txt") &
exec 8>hold
within 60 [ -s holder.txt ]
(cd package && exec wine package.exe) &
package=$!
check "the package starts the program" tool wait "$title"
check "the program is unpacked into one temporary folder" [ "$(unpacked $updater | wc -l)" -eq 1 ]
check "the licences are unpacked beside the program" [ "$(unpacked licences.txt | wc -l)" -eq 1 ]
check "an earlier package's folder is gone" [ ! -e "$temporary/ZEFO_VYNT_Firmware_Update_{left-behind}" ]
check "a folder that somebody holds open remains" [ -e "$temporary/ZEFO_VYNT_Firmware_Update_{held}" ]
own=$(basename "$(dirname "$(unpacked $updater)")")
check "nobody can rename the program's folder while the program runs" is_held "$own"
picture start-screen-with-archive
choose_system_item up up up up up
check "the main page shows the archive" shows "fw.1.2"
picture main-page-with-archive
tool close "$title"
wait $package
check "the package ends with the program's exit status" [ $? -eq 0 ]
check "the package's program looks for the archive beside the package" log_holds 'Looking firmware file in:  "Z:/check/package"'
check "the package's program loads the archive" log_holds 'PID found: 0x0004 in file: 0x000C'
check "the package removes the folder into which it unpacked the program" \
    [ "$(own_folders)" = "$temporary/ZEFO_VYNT_Firmware_Update_{held}" ]
exec 8>&-
rm -r "$logs"

# Starts a package whose payload contains a wrong size.
message() { tool message "$title" | tr -d '\r' | grep . | head -n 1; }
wine damaged/package.exe &
package=$!
check "a damaged package shows a message" text_is "$(message)" \
    "This package is damaged. Please download it again."
tool keys "$title" enter
wait $package
check "a damaged package ends with exit status 1" [ $? -eq 1 ]

# Starts the package as an administrator whose temporary folder is on the network share E:.
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
check "the package leaves nothing in the folder for program data" \
    [ "$(find "$protected" -name 'ZEFO_VYNT*' | wc -l)" -eq 0 ]

folders_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders'
wine reg add "$folders_key" /v "Common AppData" /d 'E:\' /f >/dev/null
package_from_share &
package=$!
check "if no drive can protect the program, the package shows a message" \
    text_is "$(message)" \
    "Could not create a protected folder for the firmware updater."
tool keys "$title" enter
wait $package
wine reg delete "$folders_key" /v "Common AppData" /f >/dev/null
