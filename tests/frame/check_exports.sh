#!/usr/bin/env bash
# The module must export the two OFX entry points and the QzDib toolkit, and
# nothing else, so that it never clashes with a host's own libraries. The
# toolkit's two classes, A_Buffer and CScanlineIntersect, export their
# members under C++ names.
set -euo pipefail
module=$1
symbols=$(nm -D --defined-only "$module" | awk '{print $3}' | sort)
grep -qx OfxGetPlugin <<<"$symbols" || { echo "OfxGetPlugin is not exported"; exit 1; }
grep -qx OfxGetNumberOfPlugins <<<"$symbols" || { echo "OfxGetNumberOfPlugins is not exported"; exit 1; }
unexpected=$(grep -v -x -E 'OfxGetPlugin|OfxGetNumberOfPlugins|(Qz|QZ|HotCheck)[A-Za-z0-9_]*|DibPreparePluginParam|GetByteOffsetFromChannelEnum|PMBlend_DUALALPHACH|_ZNK?(8A_Buffer|18CScanlineIntersect)[A-Za-z0-9_]*' <<<"$symbols" || true)
if [ -n "$unexpected" ]; then
  echo "unexpected exports:"
  echo "$unexpected"
  exit 1
fi
echo "exports: $(wc -l <<<"$symbols") symbols, all expected"
