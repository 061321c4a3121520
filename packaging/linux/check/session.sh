# Runs the session of the user at the screen: starts an X server and a window manager, and executes the commands
# that as_user in run.sh sends. Xvfb's option -r turns key repeat off, because on a slow computer even a short key
# press would repeat.
export DISPLAY=:7 LC_ALL=C.UTF-8
Xvfb $DISPLAY -r -ac -screen 0 1024x768x24 -nolisten tcp 2>/dev/null &
until [ -S /tmp/.X11-unix/X7 ]; do sleep 0.2; done
openbox &
mkfifo "$XDG_RUNTIME_DIR/commands"
exec 3<>"$XDG_RUNTIME_DIR/commands"
while read -r command <&3; do
    sh -c "$command" 3>&- &
done
