"""Spreads work over one mould to whatever executor the user has: the mould travels once to each worker."""

from __future__ import annotations

import os
import pickle
import threading
from collections import OrderedDict, deque
from concurrent.futures import FIRST_COMPLETED, Executor, Future, ThreadPoolExecutor, wait
from typing import Any, Callable, Iterator, Optional, Sequence

from .draping import Mould

_MOULDS_KEPT = 4  # by a worker, the latest

Work = Callable[[Mould, Any, Any], Any]  # mould, settings, share; a function of a module, so that workers find it


class Spread:
    """Carries out `work(mould, settings, share)` for shares of work, two of them under way per worker.

    Threads have the mould already. Other processes get it with the first share of each worker, and its key with all
    others; one that turns out not to have it, as one that joined later, hands its share back and gets it then.
    """

    def __init__(self, mould: Mould, work: Work, settings: Any, executor: Executor) -> None:
        self.workers = max(1, getattr(executor, "_max_workers", None) or os.cpu_count() or 1)
        self._mould = mould
        self._work = work
        self._settings = settings
        self._executor = executor
        self._elsewhere = not isinstance(executor, ThreadPoolExecutor)
        self._packed = pickle.dumps(mould, protocol=pickle.HIGHEST_PROTOCOL) if self._elsewhere else None
        self._to_send = self.workers

    def _submit(self, share: Any, with_mould: bool) -> Future:
        if not self._elsewhere:
            return self._executor.submit(self._work, self._mould, self._settings, share)
        with_mould = with_mould or self._to_send > 0
        self._to_send -= with_mould
        packed = self._packed if with_mould else None
        return self._executor.submit(_done_elsewhere, self._mould.key, packed, self._work, self._settings, share)

    def results(self, shares: Sequence[Any]) -> Iterator[tuple[int, Any]]:
        """(index, what the work gave) of each share, as it comes in."""
        waiting = deque(range(len(shares)))
        running: dict[Future, int] = {}

        def start(index: int, with_mould: bool = False) -> None:
            running[self._submit(shares[index], with_mould)] = index

        try:
            for _ in range(min(2 * self.workers, len(shares))):
                start(waiting.popleft())
            while running:
                finished, _ = wait(running, return_when=FIRST_COMPLETED)
                for future in finished:
                    index = running.pop(future)
                    given = future.result()
                    if given is None:
                        start(index, with_mould=True)
                        continue
                    if waiting:
                        start(waiting.popleft())
                    yield index, given
        finally:
            for future in running:
                future.cancel()


_moulds: OrderedDict[bytes, Mould] = OrderedDict()  # of a worker process, by their keys, the latest last
_moulds_lock = threading.Lock()


def _done_elsewhere(key: bytes, packed: Optional[bytes], work: Work, settings: Any, share: Any) -> Any:
    """Runs in a worker. None if the mould hasn't come to it."""
    with _moulds_lock:
        if key not in _moulds:
            if packed is None:
                return None
            _moulds[key] = pickle.loads(packed)
        _moulds.move_to_end(key)
        while len(_moulds) > _MOULDS_KEPT:
            _moulds.popitem(last=False)
        mould = _moulds[key]
    return work(mould, settings, share)
