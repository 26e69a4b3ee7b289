       IDENTIFICATION DIVISION.
       PROGRAM-ID. ESCRIBE.
      * Escribe cinco registros de cliente.cpy en clientes.dat.
       ENVIRONMENT DIVISION.
       INPUT-OUTPUT SECTION.
       FILE-CONTROL.
           SELECT SALIDA ASSIGN TO "clientes.dat"
               ORGANIZATION IS LINE SEQUENTIAL.
       DATA DIVISION.
       FILE SECTION.
       FD  SALIDA.
       COPY "cliente.cpy".
       WORKING-STORAGE SECTION.
       01  I                         PIC 9(3).
       01  J                         PIC 9.
       PROCEDURE DIVISION.
           OPEN OUTPUT SALIDA
           PERFORM VARYING I FROM 1 BY 1 UNTIL I > 5
               MOVE SPACES TO CLIENTE-REG
               MOVE "CLIENTE" TO CLI-NOMBRE
               MOVE I TO CLI-NOMBRE(9:3)
               MOVE "ABCD" TO CLI-CODIGO
               MOVE "0123456785" TO CLI-RUT
               COMPUTE CLI-FECHA = 20060300 + I
               COMPUTE CLI-SALDO = I * 1234.56 - 5000
               PERFORM VARYING J FROM 1 BY 1 UNTIL J > 3
                   COMPUTE ITM-CANT(J) = I * J
                   COMPUTE ITM-PRECIO(J) = I * 100.25 + J
                   COMPUTE ITM-AJUSTE(J) = J - I - 0.5
               END-PERFORM
               MOVE "A" TO CLI-ESTADO
               WRITE CLIENTE-REG
           END-PERFORM
           CLOSE SALIDA
           STOP RUN.
