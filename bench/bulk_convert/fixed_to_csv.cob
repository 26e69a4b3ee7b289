       IDENTIFICATION DIVISION.
       PROGRAM-ID. FIXEDCSV.
      * The COBOL side of the bulk conversion benchmark: reads the
      * records of cliente.cpy LINE SEQUENTIAL and writes them as CSV
      * lines built with STRING (texts trimmed, numbers through edited
      * pictures, dates with dashes, RUTs as stored).
      * Files: environment variables ENTRADA and SALIDA.
       ENVIRONMENT DIVISION.
       INPUT-OUTPUT SECTION.
       FILE-CONTROL.
           SELECT F-ENTRADA ASSIGN TO "ENTRADA"
               ORGANIZATION IS LINE SEQUENTIAL.
           SELECT F-SALIDA ASSIGN TO "SALIDA"
               ORGANIZATION IS LINE SEQUENTIAL.
       DATA DIVISION.
       FILE SECTION.
       FD  F-ENTRADA.
       COPY "cliente.cpy".
       FD  F-SALIDA.
       01  LINEA                     PIC X(1500).
       WORKING-STORAGE SECTION.
       01  FIN                       PIC X VALUE "N".
       01  P                         PIC 9(4) COMP.
       01  I                         PIC 99 COMP.
       01  E0                        PIC -(17)9.
       01  E1                        PIC -(16)9.9.
       01  E2                        PIC -(15)9.99.
       01  E4                        PIC -(13)9.9(4).
       PROCEDURE DIVISION.
           OPEN INPUT F-ENTRADA OUTPUT F-SALIDA
           PERFORM UNTIL FIN = "S"
               READ F-ENTRADA
                   AT END MOVE "S" TO FIN
                   NOT AT END PERFORM CONVIERTE
               END-READ
           END-PERFORM
           CLOSE F-ENTRADA F-SALIDA
           STOP RUN.

       CONVIERTE.
           MOVE SPACES TO LINEA
           MOVE 1 TO P
           STRING FUNCTION TRIM(CLI-NOMBRE TRAILING) ","
                  FUNCTION TRIM(CLI-DIRECCION TRAILING) ","
                  FUNCTION TRIM(CLI-COMUNA TRAILING) ","
                  FUNCTION TRIM(CLI-CIUDAD TRAILING) ","
                  FUNCTION TRIM(CLI-GIRO TRAILING) ","
                  FUNCTION TRIM(CLI-EMAIL TRAILING) ","
                  FUNCTION TRIM(CLI-FONO TRAILING) ","
                  FUNCTION TRIM(CLI-CONTACTO TRAILING) ","
                  FUNCTION TRIM(CLI-OBS TRAILING) ","
                  FUNCTION TRIM(CLI-VENDEDOR TRAILING) ","
                  FUNCTION TRIM(CLI-SUCURSAL TRAILING) ","
                  FUNCTION TRIM(CLI-CANAL TRAILING) ","
                  CLI-CODIGO "," CLI-CLASE "," CLI-ZONA ","
                  CLI-ESTADO ","
               DELIMITED BY SIZE INTO LINEA WITH POINTER P
           MOVE CLI-NUMERO TO E0 PERFORM PON-E0
           MOVE CLI-LINEA TO E0 PERFORM PON-E0
           MOVE CLI-CUPO TO E2 PERFORM PON-E2
           MOVE CLI-USADO TO E2 PERFORM PON-E2
           MOVE CLI-DISPONIBLE TO E2 PERFORM PON-E2
           MOVE CLI-TASA TO E4 PERFORM PON-E4
           MOVE CLI-PLAZO TO E0 PERFORM PON-E0
           MOVE CLI-CUOTAS TO E0 PERFORM PON-E0
           MOVE CLI-MONTO TO E2 PERFORM PON-E2
           MOVE CLI-PAGADO TO E2 PERFORM PON-E2
           MOVE CLI-SALDO TO E2 PERFORM PON-E2
           MOVE CLI-MORA TO E2 PERFORM PON-E2
           MOVE CLI-AJUSTE TO E2 PERFORM PON-E2
           MOVE CLI-DIFERENCIA TO E2 PERFORM PON-E2
           MOVE CLI-INTERES TO E4 PERFORM PON-E4
           STRING CLI-ALTA(1:4) "-" CLI-ALTA(5:2) "-"
                  CLI-ALTA(7:2) ","
                  CLI-ULTIMA(1:4) "-" CLI-ULTIMA(5:2) "-"
                  CLI-ULTIMA(7:2) ","
                  CLI-VENCE(1:4) "-" CLI-VENCE(5:2) "-"
                  CLI-VENCE(7:2) ","
                  CLI-RUT "," CLI-RUT-REP
               DELIMITED BY SIZE INTO LINEA WITH POINTER P
           PERFORM VARYING I FROM 1 BY 1 UNTIL I > 10
               STRING "," FUNCTION TRIM(ITM-ART(I) TRAILING) ","
                   DELIMITED BY SIZE INTO LINEA WITH POINTER P
               MOVE ITM-CANT(I) TO E0 PERFORM PON-E0
               MOVE ITM-PRECIO(I) TO E2 PERFORM PON-E2
               MOVE ITM-DESC(I) TO E1
               STRING FUNCTION TRIM(E1)
                   DELIMITED BY SIZE INTO LINEA WITH POINTER P
           END-PERFORM
           WRITE LINEA.

       PON-E0.
           STRING FUNCTION TRIM(E0) ","
               DELIMITED BY SIZE INTO LINEA WITH POINTER P.
       PON-E2.
           STRING FUNCTION TRIM(E2) ","
               DELIMITED BY SIZE INTO LINEA WITH POINTER P.
       PON-E4.
           STRING FUNCTION TRIM(E4) ","
               DELIMITED BY SIZE INTO LINEA WITH POINTER P.
