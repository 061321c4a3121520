# Purges the package while both devices are plugged in, and looks for files that remain. run.sh sources this file.

left_over() { find / -xdev \( -path /check -o -path /home -o -path /proc \) -prune -o -name "*$program*" -print; }
nothing_is_left() { [ -z "$(left_over)" ] || { left_over | sed 's/^/| /'; false; }; }

purge() { dpkg --purge $program >>install.log; }
check "the package is purged" purge
check "the user may not open the devices any more" within 30 user_may_not_open
check "no file of the package is left" nothing_is_left
unplug
