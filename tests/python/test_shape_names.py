"""The names of shapes: one list for makers, tables and messages, and its short forms."""

import pickle

import kavro
import numpy as np
import pytest

NAMES = {
    "disc": "circ",
    "ring": "ring",
    "rectangle": "rect",
    "spherical shell": "shel",
    "spherical ring": "sph ring",
    "polygon": "poly",
}
MADE = [
    kavro.disc(1e-3),
    kavro.ring(1e-3, 2e-3),
    kavro.rectangular_piston(1e-3, 2e-3),
    kavro.spherical_shell(2e-3, 9e-3),
    kavro.spherical_ring(1e-3, 2e-3, 9e-3),
    kavro.polygon([[0, 0], [2e-3, 0], [0, 3e-3]]),
]


def test_makers_write_the_names_and_tables_list_them():
    assert [made.shape[0] for made in MADE] == list(NAMES)
    assert kavro.methods()["fnm_cw"].shapes == tuple(NAMES)
    assert kavro.linear_array(2, 2, 1).shape.tolist() == ["disc", "disc"]


@pytest.mark.parametrize("made", MADE, ids=NAMES)
def test_short_forms_become_the_names(made):
    short = made.replace(shape=NAMES[made.shape[0]])
    assert short == made and pickle.loads(pickle.dumps(short)) == made
    mixed = (short + made).replace(shape=[NAMES[made.shape[0]], made.shape[0]])
    assert mixed == made + made and np.unique(mixed.shape).size == 1


def test_a_name_that_is_none_is_named_with_the_list():
    listed = ", ".join(map(repr, NAMES))
    with pytest.raises(kavro.InputError, match=f"must be one of {listed}, but is 'Disc'"):
        kavro.acoustic_power(MADE[0].replace(shape="Disc"), kavro.water(), 1e6)
