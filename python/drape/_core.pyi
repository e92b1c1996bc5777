# What the package's own modules are made of; they have the types.
from typing import Any

__version__: str

def __getattr__(name: str) -> Any: ...
