#!/usr/bin/env bash
# Rewrites include/tessel/Tessel.h so that it includes every public header.
set -euo pipefail
cd "$(dirname "$0")/../include"
{
  echo '#pragma once'
  echo '// Everything a host needs from TesselLib in one include.'
  echo
  find tessel -name '*.h' ! -path tessel/Tessel.h | LC_ALL=C sort | sed 's/.*/#include "&"/'
} > tessel/Tessel.h
