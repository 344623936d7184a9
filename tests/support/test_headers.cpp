// Nothing but what is precompiled.
