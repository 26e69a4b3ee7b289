      * Registro de cliente: lo escribe escribe.cob y lo lee qel.
       01  CLIENTE-REG.
           05  CLI-NOMBRE            PIC X(20).
           05  CLI-CODIGO            PIC A(4).
           05  CLI-RUT               PIC X(10).
           05  CLI-FECHA             PIC 9(8).
           05  CLI-SALDO             PIC S9(7)V99.
           05  FILLER                PIC X(2).
           05  CLI-ITEMS             OCCURS 3 TIMES.
               10  ITM-CANT          PIC 9(3).
               10  ITM-PRECIO        PIC 9(5)V99.
               10  ITM-AJUSTE        PIC S9(3)V9.
           05  CLI-ESTADO            PIC X.
               88  CLI-ACTIVO        VALUE 'A'.
