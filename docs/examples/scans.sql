.define {"table": "SCANS", "primaryKey": "ISBN", "columns": [{"name": "ISBN", "notNull": true}, {"name": "PAGE", "type": "LONG VARCHAR", "part": true}]}
.rows SCANS
{"ISBN": "0-306-40615-2", ".parts": [{"PAGE": "A captain hunts the white whale."}, {"PAGE": "The sea keeps the ship."}]}
.end
SELECT ISBN, PAGE FROM SCANS WHERE PAGE = 'whale';
