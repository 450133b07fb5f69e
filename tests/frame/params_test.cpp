// Parameter families through the host: filled in with the test effect.
