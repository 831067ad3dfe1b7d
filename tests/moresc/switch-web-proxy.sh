#!/usr/bin/env bash
# What an administrator's script does with moresc: list the sets as JSON,
# switch to a set by the ID read there, set a web proxy on its first
# service, and read the proxy back as JSON.
#   switch-web-proxy.sh MORESC
set -euo pipefail
moresc=$1
field() { python3 -c "import json, sys; d = json.load(sys.stdin); print($1)"; }

# A second set to switch to: a copy of the current one.
current=$("$moresc" current-set --json | field 'd["id"]')
"$moresc" duplicate-set "$current" Office >/dev/null
set=$("$moresc" sets --json | field '[s["id"] for s in d if s["name"] == "Office"][0]')
"$moresc" switch-set "$set"
[ "$("$moresc" current-set --json | field 'd["id"]')" = "$set" ]

service=$("$moresc" services --json | field 'd[0]["id"]')
"$moresc" set-proxy "$service" web proxy.example.com 3128
"$moresc" proxies --json "$service" |
  field '"web proxy %s:%d %s" % (d["HTTPProxy"], d["HTTPPort"], "on" if d["HTTPEnable"] == 1 else "off")'
