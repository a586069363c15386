* A trade that earns without limit: what is bought can be sold for more.
NAME          UNBOUND
ROWS
 N  LOSS
 G  STOCK
COLUMNS
    BUY       LOSS                 3
    BUY       STOCK                1
    SELL      LOSS                -4
    SELL      STOCK               -1
RHS
ENDATA
