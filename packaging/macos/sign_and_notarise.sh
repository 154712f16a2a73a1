#!/usr/bin/env bash
# Usage: sign_and_notarise.sh BUNDLE "Developer ID Application: NAME (TEAM)" KEYCHAIN_PROFILE
# On a Mac: signs a plug-in bundle with your own certificate, has Apple notarise it, and staples the
# ticket to it. The profile names the account; 'xcrun notarytool store-credentials' makes one.
set -euo pipefail

if [ "$#" -ne 3 ]; then
  echo "error: sign_and_notarise.sh: expected three arguments (BUNDLE IDENTITY KEYCHAIN_PROFILE)" >&2
  exit 2
fi
bundle=${1%/}
identity=$2
profile=$3
if [ ! -d "$bundle/Contents/MacOS" ]; then
  echo "error: $bundle: it is no bundle (name Lomix.plugin)" >&2
  exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
codesign --force --options runtime --timestamp --sign "$identity" "$bundle"
codesign --verify --strict --verbose "$bundle"
ditto -c -k --keepParent "$bundle" "$work/bundle.zip"
xcrun notarytool submit "$work/bundle.zip" --keychain-profile "$profile" --wait
xcrun stapler staple "$bundle"
xcrun stapler validate "$bundle"
