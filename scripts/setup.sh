#!/usr/bin/env bash
# Installs what building and testing need on a fresh Debian machine. Needed
# packages must install; the tools some tests compare against are tried and
# skipped when they cannot be had (those tests then skip themselves).
set -euo pipefail

needed=(cmake g++ make libgtest-dev libbenchmark-dev zlib1g-dev)
optional=(libtiff-tools python3-pil imagemagick clang)

missing() { for p in "$@"; do dpkg -s "$p" >/dev/null 2>&1 || echo "$p"; done; }

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
updated=0
update_once() { [ "$updated" = 1 ] || { $sudo apt-get update -qq || true; updated=1; }; }

need=$(missing "${needed[@]}")
if [ -n "$need" ]; then
    update_once
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq $need
fi
if [ "${BILD_SKIP_OPTIONAL:-0}" != 1 ]; then
    opt=$(missing "${optional[@]}")
    if [ -n "$opt" ]; then
        update_once
        # shellcheck disable=SC2086
        $sudo apt-get install -y -qq $opt >/dev/null 2>&1 || echo "setup: optional tools not installed: $opt (their tests skip)"
    fi
fi
