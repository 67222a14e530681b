#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# Makes an identity to sign programs with: see usage() below.
set -euo pipefail

usage() {
  cat <<'TEXT'
Usage: make-identity.sh [--rsa] FOLDER COMMON_NAME TEAM

Makes the new folder FOLDER with a root, an authority below it and a certificate for signing code below that,
each as NAME.pem and NAME.key, where NAME is root, intermediate or leaf, and chain.pem with all three
certificates, the leaf first. The leaf's subject has COMMON_NAME and, as its OU, TEAM; the extension fields are
those that programs distributed by their makers have. Only the owner can read the keys, which are not encrypted.

  --rsa   an RSA key for the certificate for signing code, in place of one on an elliptic curve: it signs the same
          thing with the same bytes each time
TEXT
}

leaf_key=()
case "${1-}" in
  -h | --help) usage; exit 0 ;;
  --rsa) leaf_key=(-algorithm RSA -pkeyopt rsa_keygen_bits:3072); shift ;;
esac
(($# == 3)) || { usage >&2; exit 2; }
folder=$1
common_name=$2
team=$3

die() {
  printf 'make-identity: %s\n' "$*" >&2
  exit 1
}

[[ ! -e $folder ]] || die "$folder exists already"
umask 077
# Everything or nothing: an interrupted run leaves no half of an identity.
mkdir -p "$(dirname "$folder")"
work=$(mktemp -d "$folder.XXXXXX")
trap 'rm -rf "$work"' EXIT

cat >"$work/extensions" <<'TEXT'
[req]
distinguished_name = empty
[empty]
[root]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
[intermediate]
basicConstraints = critical,CA:TRUE,pathlen:0
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
1.2.840.113635.100.6.2.6 = DER:05:00
[leaf]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature
extendedKeyUsage = critical,codeSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
1.2.840.113635.100.6.1.13 = critical,DER:05:00
TEXT

# The configuration of the machine must not change what is made.
run_openssl() {
  OPENSSL_CONF=$work/extensions openssl "$@" 2>>"$work/errors" || die "openssl $1 failed: $(cat "$work/errors")"
}

# As the value of one attribute in openssl's notation of subjects.
escaped() {
  printf '%s' "$1" | sed 's:[\\/+]:\\&:g'
}

# make_key NAME [OPTION of openssl genpkey]...
make_key() {
  local name=$1 options=("${@:2}")
  ((${#options[@]})) || options=(-algorithm EC -pkeyopt ec_paramgen_curve:P-256)
  run_openssl genpkey "${options[@]}" -out "$work/$name.key"
}

# make_certificate NAME SUBJECT ISSUER [OPTION of openssl genpkey]...
make_certificate() {
  make_key "$1" "${@:4}"
  run_openssl req -new -utf8 -config "$work/extensions" -key "$work/$1.key" -subj "$2" -out "$work/$1.csr"
  run_openssl x509 -req -sha256 -days 7300 -in "$work/$1.csr" -CA "$work/$3.pem" -CAkey "$work/$3.key" \
    -set_serial "0x$(run_openssl rand -hex 15)" -extfile "$work/extensions" -extensions "$1" -out "$work/$1.pem"
}

make_key root
run_openssl req -new -x509 -sha256 -utf8 -days 7300 -config "$work/extensions" -extensions root -key "$work/root.key" \
  -subj "/CN=Wicket Development Root/O=Wicket Development" -out "$work/root.pem"
make_certificate intermediate "/CN=Wicket Development Authority/O=Wicket Development" root
make_certificate leaf "/CN=$(escaped "$common_name")/OU=$(escaped "$team")/O=Wicket Development" intermediate "${leaf_key[@]}"
cat "$work/leaf.pem" "$work/intermediate.pem" "$work/root.pem" >"$work/chain.pem"
rm -f "$work"/*.csr "$work/extensions" "$work/errors"
chmod 0755 "$work"
chmod 0644 "$work"/*.pem
mv -T "$work" "$folder"
trap - EXIT
