#!/bin/sh
# Tells the user where the scanned documents are. Its argument is the one document, or the folder of
# several. Without a desktop to show it, the message goes to standard output.
message="Scanned: ${1:-no document}"
gdbus call --session --dest org.freedesktop.Notifications --object-path /org/freedesktop/Notifications \
    --method org.freedesktop.Notifications.Notify -- Trigora 0 scanner "Trigora" "$message" '[]' '{}' 5000 \
    >/dev/null 2>&1 || printf '%s\n' "$message"
