* Which of four machines does which of four jobs; the hours that setting it up takes.
NAME          ASSIGN
ROWS
 N  HOURS
 E  MACHINE1
 E  MACHINE2
 E  MACHINE3
 E  MACHINE4
 E  JOB1
 E  JOB2
 E  JOB3
 E  JOB4
COLUMNS
    M1_J1     HOURS               14
    M1_J1     MACHINE1             1
    M1_J1     JOB1                 1
    M1_J2     HOURS                5
    M1_J2     MACHINE1             1
    M1_J2     JOB2                 1
    M1_J3     HOURS                8
    M1_J3     MACHINE1             1
    M1_J3     JOB3                 1
    M1_J4     HOURS                7
    M1_J4     MACHINE1             1
    M1_J4     JOB4                 1
    M2_J1     HOURS                2
    M2_J1     MACHINE2             1
    M2_J1     JOB1                 1
    M2_J2     HOURS               12
    M2_J2     MACHINE2             1
    M2_J2     JOB2                 1
    M2_J3     HOURS                6
    M2_J3     MACHINE2             1
    M2_J3     JOB3                 1
    M2_J4     HOURS                5
    M2_J4     MACHINE2             1
    M2_J4     JOB4                 1
    M3_J1     HOURS                7
    M3_J1     MACHINE3             1
    M3_J1     JOB1                 1
    M3_J2     HOURS                8
    M3_J2     MACHINE3             1
    M3_J2     JOB2                 1
    M3_J3     HOURS                3
    M3_J3     MACHINE3             1
    M3_J3     JOB3                 1
    M3_J4     HOURS                9
    M3_J4     MACHINE3             1
    M3_J4     JOB4                 1
    M4_J1     HOURS                2
    M4_J1     MACHINE4             1
    M4_J1     JOB1                 1
    M4_J2     HOURS                4
    M4_J2     MACHINE4             1
    M4_J2     JOB2                 1
    M4_J3     HOURS                6
    M4_J3     MACHINE4             1
    M4_J3     JOB3                 1
    M4_J4     HOURS               10
    M4_J4     MACHINE4             1
    M4_J4     JOB4                 1
RHS
    RHS       MACHINE1             1
    RHS       MACHINE2             1
    RHS       MACHINE3             1
    RHS       MACHINE4             1
    RHS       JOB1                 1
    RHS       JOB2                 1
    RHS       JOB3                 1
    RHS       JOB4                 1
ENDATA
