#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-only
#
# ssh_test.sh OVK: ovk through a real sshd, as an ordinary user with a key made for this test. The
# daemon speaks over a pipe, so that no port of this machine is taken.
set -euo pipefail
ovk=$1
work=$(mktemp -d)
user='ovk-ssh-test'

finish() {
    rm -rf "$work"
    ! ((EUID == 0)) || userdel "$user" 2>/dev/null || true
}
trap finish EXIT

fail() {
    echo "ssh_test: $*" >&2
    exit 1
}

as_user() {
    if ((EUID == 0)); then
        setpriv --reuid="$user" --regid="$user" --init-groups env HOME="$work" "$@"
    else
        "$@"
    fi
}

if ((EUID == 0)); then
    useradd --no-create-home --shell /bin/sh --password '*' "$user"
    chmod 755 "$work"
fi
mkdir "$work/attributes"
printf '52%%\n' >"$work/attributes/bw_bus"
printf 'binary \377\r\n' >"$work/attributes/ip_config"
: >"$work/attributes/mask"
ssh-keygen -q -t ed25519 -N '' -f "$work/host"
ssh-keygen -q -t ed25519 -N '' -f "$work/key"
cat >"$work/sshd_config" <<END
HostKey $work/host
AuthorizedKeysFile $work/key.pub
StrictModes no
UsePAM no
AcceptEnv OVK_*
SetEnv OVK_DIRECTORY=$work/attributes
PidFile none
END
cat >"$work/ssh_config" <<END
Host device
    ProxyCommand /usr/sbin/sshd -i -f $work/sshd_config -E $work/log
    IdentityFile $work/key
    StrictHostKeyChecking no
    UserKnownHostsFile /dev/null
    LogLevel ERROR
END
printf 'Host gone\n    ProxyCommand false\n' >>"$work/ssh_config"
printf '#!/bin/sh\nexec /usr/bin/ssh -F %s "$@"\n' "$work/ssh_config" >"$work/ssh"
chmod +x "$work/ssh"
cp "$ovk" "$work/ovk"
! ((EUID == 0)) || chown -R "$user" "$work"
export PATH=$work:$PATH OVK_DIRECTORY=$work/attributes

as_user "$work/ovk" -s ssh:device read ip_config >"$work/read" || fail "no read: $(cat "$work/log")"
cmp "$work/read" "$work/attributes/ip_config"
[[ $(as_user "$work/ovk" -s ssh:device report bus --format csv | tail -n 1) == *,52 ]] ||
    fail "not the report's figure"
as_user "$work/ovk" -s ssh:device write mask '1 2 3' >/dev/null 2>&1 || [[ $? == 5 ]]
[[ $(cat "$work/attributes/mask") == '1 2 3' ]] || fail "nothing was written"
status=0
as_user "$work/ovk" -s ssh:gone read bw_bus >/dev/null 2>"$work/said" || status=$?
[[ $status == 3 && $(cat "$work/said") == *ssh:gone* ]] || fail "status $status: $(cat "$work/said")"
rm "$work/key"
status=0
as_user "$work/ovk" -s ssh:device read bw_bus >/dev/null 2>"$work/said" </dev/null || status=$?
[[ $status == 3 ]] || fail "status $status without a key"
