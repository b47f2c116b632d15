import gc,os
def _kt(m,n):
 try:
  return 1 if hasattr(__import__(m),n) else 0
 except ImportError:
  return 0
_kd=0
try:
 os.listdir('/')
except TypeError:
 _kd=1
except OSError:
 pass
gc.collect()
print('__CAPS__',gc.mem_free(),_kt('ubinascii','a2b_base64'),_kt('binascii','a2b_base64'),_kt('ubinascii','crc32'),_kt('binascii','crc32'),_kt('hashlib','sha256'),_kt('os','stat'),_kt('os','rename'),_kt('json','dumps'),_kt('os','size'),_kd)