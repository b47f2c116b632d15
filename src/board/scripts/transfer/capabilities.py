import gc
def _kt(m,n):
 try:
  return 1 if hasattr(__import__(m),n) else 0
 except ImportError:
  return 0
gc.collect()
print('__CAPS__%d %d %d %d %d %d %d %d'%(gc.mem_free(),_kt('ubinascii','a2b_base64'),_kt('binascii','a2b_base64'),_kt('ubinascii','crc32'),_kt('binascii','crc32'),_kt('hashlib','sha256'),_kt('os','stat'),_kt('os','rename')))