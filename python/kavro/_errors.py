"""What the package raises of its own."""


class InputError(ValueError):
    """A fault in what a function was given; the message says what it must be and what it is."""


InputError.__module__ = "kavro"
