"""Handles that free themselves once, refuse use after close, and never close under a call."""
import contextlib
import threading

from ._errors import TintaraError, PTR_INVALID, THREAD_ERROR


class Handle:
    """Owns one library handle. `with` closes it; so does garbage collection, as a fallback.
    Calls hold it through `_use()`, so a handle closed on one thread while another thread
    matches with it refuses to close (ThreadError) instead of freeing memory in use."""

    _free = None  # the library's free function, set by each subclass

    def __init__(self, pointer):
        self._pointer = pointer
        self._calls = 0
        self._lock = threading.Lock()

    @contextlib.contextmanager
    def _use(self):
        with self._lock:
            if self._pointer is None:
                raise TintaraError(PTR_INVALID, type(self).__name__, "used after close()")
            self._calls += 1
        try:
            yield self._pointer
        finally:
            with self._lock:
                self._calls -= 1

    @property
    def closed(self):
        return self._pointer is None

    def close(self):
        """Frees the handle; a second close does nothing."""
        with self._lock:
            if self._pointer is None:
                return
            if self._calls:
                raise TintaraError(THREAD_ERROR, type(self).__name__, "closed while another thread uses it")
            pointer, self._pointer = self._pointer, None
        type(self)._free(pointer)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        # A fallback only: at interpreter exit the library may already be gone.
        try:
            if getattr(self, "_pointer", None) is not None and not self._calls:
                self.close()
        except Exception:
            pass
