* In which of six towns to build fire stations so that each town has one within 15 minutes.
NAME          SETCOVER
ROWS
 N  STATIONS
 G  TOWN1
 G  TOWN2
 G  TOWN3
 G  TOWN4
 G  TOWN5
 G  TOWN6
COLUMNS
    MARKER    'MARKER'                 'INTORG'
    BUILD1    STATIONS             1
    BUILD1    TOWN1                1
    BUILD1    TOWN2                1
    BUILD2    STATIONS             1
    BUILD2    TOWN1                1
    BUILD2    TOWN2                1
    BUILD2    TOWN6                1
    BUILD3    STATIONS             1
    BUILD3    TOWN3                1
    BUILD3    TOWN4                1
    BUILD4    STATIONS             1
    BUILD4    TOWN3                1
    BUILD4    TOWN4                1
    BUILD4    TOWN5                1
    BUILD5    STATIONS             1
    BUILD5    TOWN4                1
    BUILD5    TOWN5                1
    BUILD5    TOWN6                1
    BUILD6    STATIONS             1
    BUILD6    TOWN2                1
    BUILD6    TOWN5                1
    BUILD6    TOWN6                1
    MARKER    'MARKER'                 'INTEND'
RHS
    RHS       TOWN1                1
    RHS       TOWN2                1
    RHS       TOWN3                1
    RHS       TOWN4                1
    RHS       TOWN5                1
    RHS       TOWN6                1
BOUNDS
 BV BOUND     BUILD1
 BV BOUND     BUILD2
 BV BOUND     BUILD3
 BV BOUND     BUILD4
 BV BOUND     BUILD5
 BV BOUND     BUILD6
ENDATA
