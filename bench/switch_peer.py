#!/usr/bin/env python3
"""The job of "Tarnwick -e" written with Python's plistlib, as the peer the
tool's speed is measured against: load the store, switch the HTTP proxy off
on every active service of the current set and save, then switch PAC on and
save again (the tool saves once per step too).

Usage: switch_peer.py ROOT   (the store is ROOT/Library/Preferences/
SystemConfiguration/preferences.plist)
"""
import os
import plistlib
import sys


def active_proxies(store):
    current = store["CurrentSet"].split("/")[-1]
    network = store["Sets"][current]["Network"]
    order = network["Global"]["IPv4"]["ServiceOrder"]
    links = network["Service"]
    for service_id in order:
        link = links.get(service_id, {}).get("__LINK__", "")
        service = store["NetworkServices"].get(link.split("/")[-1])
        if service is None or "__INACTIVE__" in service:
            continue
        proxies = service.get("Proxies")
        if isinstance(proxies, dict):
            yield proxies


def save(store, path):
    temporary = path + ".peer"
    with open(temporary, "wb") as out:
        plistlib.dump(store, out, fmt=plistlib.FMT_XML, sort_keys=True)
        out.flush()
        os.fsync(out.fileno())
    os.replace(temporary, path)


def main():
    path = os.path.join(sys.argv[1], "Library/Preferences/SystemConfiguration/preferences.plist")
    with open(path, "rb") as source:
        store = plistlib.load(source)
    for proxies in active_proxies(store):
        proxies["HTTPEnable"] = 0
    save(store, path)
    for proxies in active_proxies(store):
        proxies["ProxyAutoConfigEnable"] = 1
    save(store, path)


if __name__ == "__main__":
    main()
