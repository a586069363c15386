* Cases to ship from two canneries to three markets; freight in thousands for a thousand cases.
NAME          TRANSPRT
ROWS
 N  COST
 L  SEATTLE
 L  SANDIEGO
 G  NEWYORK
 G  CHICAGO
 G  TOPEKA
COLUMNS
    SE_NY     COST             0.225
    SE_NY     SEATTLE              1
    SE_NY     NEWYORK              1
    SE_CH     COST             0.153
    SE_CH     SEATTLE              1
    SE_CH     CHICAGO              1
    SE_TO     COST             0.162
    SE_TO     SEATTLE              1
    SE_TO     TOPEKA               1
    SD_NY     COST             0.225
    SD_NY     SANDIEGO             1
    SD_NY     NEWYORK              1
    SD_CH     COST             0.162
    SD_CH     SANDIEGO             1
    SD_CH     CHICAGO              1
    SD_TO     COST             0.126
    SD_TO     SANDIEGO             1
    SD_TO     TOPEKA               1
RHS
    RHS       SEATTLE            350
    RHS       SANDIEGO           600
    RHS       NEWYORK            325
    RHS       CHICAGO            300
    RHS       TOPEKA             275
ENDATA
